#include <TarselIO/Protocols/ByteDataInputDefaultProtocol.h>
#include <TarselIO/Protocols/ByteDataInputRawProtocol.h>
#include <TarselIO/Protocols/ByteDataOutputDefaultProtocol.h>
#include <TarselIO/Protocols/ByteDataOutputRawProtocol.h>

#include <stdexcept>
#include <string>
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
    // One language for both directions.
    static void Bind(IByteDataInputProtocol& protocol, MockEndpoint* endpoint) { protocol.SetByteDataInput(endpoint); }
    static void Bind(IByteDataOutputProtocol& protocol, MockEndpoint* endpoint)
    {
        protocol.SetByteDataOutput(endpoint);
    }
    static ioSize Move(IByteDataInputProtocol& protocol, ioSize size) { return protocol.Read(data, size); }
    static ioSize Move(IByteDataOutputProtocol& protocol, ioSize size) { return protocol.Write(data, size); }

    // One request, the raw transfers that it takes, with what they answer, and its result.
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
        Mock::VerifyAndClearExpectations(&endpoint);
        EXPECT_THAT(log.Take(), IsEmpty());
    }

    StrictMock<MockEndpoint> endpoint;
    InSequence inOrder;
    LogCapture log;
};

TEST_F(Protocol, OfDefaultKindCarriesOnUntilAllIsMovedOrATransferFails)
{
    const auto check = [this](auto&& protocol)
    {
        Expect(protocol, 8, {{0, 8, true, 3}, {3, 5, true, 5}}, 8);
        Expect(protocol, 8, {{0, 8, true, 3}, {3, 5, false, 2}}, 3);
        Expect(protocol, 8, {{0, 8, false, 7}}, 0);
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
        Expect(protocol, 0, {{0, 0, true, 0}}, 0);
    };
    check(ByteDataInputRawProtocol());
    check(ByteDataOutputRawProtocol());
}

TEST_F(Protocol, LogsEachRequestWithoutAnEndpoint)
{
    const auto check = [this](auto&& protocol, const std::string& file, const std::string& text)
    {
        EXPECT_EQ(Move(protocol, 8), 0);
        EXPECT_EQ(Move(protocol, 0), 0);
        Bind(protocol, &endpoint);
        EXPECT_CALL(endpoint, Raw).WillOnce(Throw(std::runtime_error("the endpoint's own")));
        EXPECT_THROW(Move(protocol, 8), std::runtime_error);
        Bind(protocol, nullptr);
        EXPECT_EQ(Move(protocol, 8), 0);
        const LogLine line{'E', "IO/TarselIO/Protocols/" + file, text};
        EXPECT_THAT(log.Take(), ElementsAre(line, line, line));
        Mock::VerifyAndClearExpectations(&endpoint);
    };
    const std::string noInput = "Implementation IByteDataInputEx not defined";
    const std::string noOutput = "Implementation IByteDataOutputEx not defined";
    check(ByteDataInputDefaultProtocol(), "ByteDataInputDefaultProtocol.cpp", noInput);
    check(ByteDataInputRawProtocol(), "ByteDataInputRawProtocol.cpp", noInput);
    check(ByteDataOutputDefaultProtocol(), "ByteDataOutputDefaultProtocol.cpp", noOutput);
    check(ByteDataOutputRawProtocol(), "ByteDataOutputRawProtocol.cpp", noOutput);
}

}  // namespace
