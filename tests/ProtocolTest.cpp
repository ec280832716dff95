#include <TarselIO/Protocols/ByteDataInputDefaultProtocol.h>
#include <TarselIO/Protocols/ByteDataInputRawProtocol.h>
#include <TarselIO/Protocols/ByteDataOutputDefaultProtocol.h>
#include <TarselIO/Protocols/ByteDataOutputRawProtocol.h>

#include <stdexcept>
#include <tuple>
#include <vector>

#include "Support/LogCapture.h"
#include "Support/Mocks.h"

using namespace Tarsel::Core;
using namespace testing;

namespace
{

uint8_t data[8];

using Transfer = std::tuple<ioSize, ioSize, bool, ioSize>;  // offset, size, result, count

struct Protocol : Test
{
    static void Bind(IByteDataInputProtocol& protocol, MockEndpoint* end) { protocol.SetByteDataInput(end); }
    static void Bind(IByteDataOutputProtocol& protocol, MockEndpoint* end) { protocol.SetByteDataOutput(end); }
    static ioSize Move(IByteDataInputProtocol& protocol, ioSize size) { return protocol.Read(data, size); }
    static ioSize Move(IByteDataOutputProtocol& protocol, ioSize size) { return protocol.Write(data, size); }

    // Makes one request and expects these raw transfers, with their results, and the request's own result.
    template <class P>
    void Expect(P& protocol, ioSize size, const std::vector<Transfer>& transfers, ioSize result)
    {
        for (const auto& [offset, count, succeeds, done] : transfers)
        {
            EXPECT_CALL(endpoint, Raw(data + offset, count, Pointee(0U)))
                .WillOnce(DoAll(SetArgPointee<2>(done), Return(succeeds)));
        }
        Bind(protocol, &endpoint);
        EXPECT_EQ(Move(protocol, size), result);
        EXPECT_THAT(log.Take(), IsEmpty());
    }

    StrictMock<MockEndpoint> endpoint;
    LogCapture log;
};

TEST_F(Protocol, OfDefaultKindContinuesUntilAllIsMovedOrATransferFails)
{
    const auto check = [this](auto&& protocol)
    {
        Expect(protocol, 8, {{0, 8, true, 3}, {3, 5, true, 5}}, 8);
        Expect(protocol, 8, {{0, 8, true, 3}, {3, 5, false, 2}}, 3);
        Expect(protocol, 0, {{0, 0, true, 0}}, 0);
    };
    check(ByteDataInputDefaultProtocol());
    check(ByteDataOutputDefaultProtocol());
}

TEST_F(Protocol, OfRawKindMakesOneTransferAndReturnsItsCount)
{
    const auto check = [this](auto&& protocol)
    {
        Expect(protocol, 8, {{0, 8, true, 3}}, 3);
        Expect(protocol, 8, {{0, 8, false, 5}}, 5);
    };
    check(ByteDataInputRawProtocol());
    check(ByteDataOutputRawProtocol());
}

TEST_F(Protocol, LogsEachRequestWithoutAnEndpointAndPassesExceptionsOfOne)
{
    const auto check = [this](auto&& protocol, const std::string& direction, const std::string& kind)
    {
        EXPECT_EQ(Move(protocol, 8), 0);
        Bind(protocol, &endpoint);
        EXPECT_CALL(endpoint, Raw).WillOnce(Throw(std::runtime_error("the endpoint's own")));
        EXPECT_THROW(Move(protocol, 8), std::runtime_error);
        Bind(protocol, nullptr);
        EXPECT_EQ(Move(protocol, 8), 0);
        const std::string file = "IO/TarselIO/Protocols/ByteData" + direction + kind + "Protocol.cpp";
        const LogLine line{'E', file, "Implementation IByteData" + direction + "Ex not defined"};
        EXPECT_THAT(log.Take(), ElementsAre(line, line));
    };
    check(ByteDataInputDefaultProtocol(), "Input", "Default");
    check(ByteDataInputRawProtocol(), "Input", "Raw");
    check(ByteDataOutputDefaultProtocol(), "Output", "Default");
    check(ByteDataOutputRawProtocol(), "Output", "Raw");
}

}  // namespace
