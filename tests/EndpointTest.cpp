#include <TarselIO/DataInputOutputPipe.h>
#include <TarselIO/DataStdInput.h>
#include <TarselIO/DataStdOutput.h>
#include <TarselIO/Protocols/ByteDataInputRawProtocol.h>
#include <TarselIO/Protocols/ByteDataOutputRawProtocol.h>

#include "Support/Mocks.h"
#include "Support/PipeFixture.h"

using namespace Tarsel::Core;
using namespace testing;
using Tarsel::SP;

namespace
{

uint8_t data[8];

constexpr auto kNoInput = "Implementation IByteDataInputEx not defined";
constexpr auto kNoOutput = "Implementation IByteDataOutputEx not defined";

// One side of an endpoint: forwards to what is installed, holds one reference on it and logs when it is missing.
template <class Install, class Move>
void ExpectSide(Install install, Move move, const std::string& file, const std::string& text)
{
    LogCapture log;
    StrictMock<MockEndpoint> older;
    StrictMock<MockEndpoint> newer;
    InSequence inOrder;
    EXPECT_CALL(older, AddRef);
    EXPECT_CALL(older, Move(data, 5)).WillOnce(Return(3));
    EXPECT_CALL(newer, AddRef);
    EXPECT_CALL(older, Release);
    EXPECT_CALL(newer, Release);
    install(&older);
    EXPECT_EQ(move(5), 3);
    install(&newer);
    install(nullptr);
    EXPECT_THAT(log.Take(), IsEmpty());
    EXPECT_EQ(move(5), 0);
    EXPECT_EQ(move(0), 0);
    const LogLine line{'E', "IO/TarselIO/" + file, text};
    EXPECT_THAT(log.Take(), ElementsAre(line, line));
}

TEST(DuplexPipe, ForwardsToBothSides)
{
    const SP<DataInputOutputPipe> pipe(new DataInputOutputPipe("", false));
    const auto read = [&](ioSize size) { return pipe->Read(data, size); };
    const auto write = [&](ioSize size) { return pipe->Write(data, size); };
    ExpectSide([&](auto side) { pipe->SetInputPipe(side); }, read, "DataInputOutputPipe.cpp", kNoInput);
    ExpectSide([&](auto side) { pipe->SetOutputPipe(side); }, write, "DataInputOutputPipe.cpp", kNoOutput);
    pipe->Cancel();
}

TEST(DuplexPipe, CancelsItsInputOnlyAndReleasesItsOutputFirst)
{
    StrictMock<MockEndpoint> input;
    StrictMock<MockEndpoint> output;
    InSequence inOrder;
    EXPECT_CALL(input, AddRef);
    EXPECT_CALL(output, AddRef);
    EXPECT_CALL(input, Cancel).Times(2);
    EXPECT_CALL(output, Release);
    EXPECT_CALL(input, Release);
    const SP<DataInputOutputPipe> pipe(new DataInputOutputPipe("", false));
    pipe->SetInputPipe(&input);
    pipe->SetOutputPipe(&output);
    static_cast<IByteDataInput&>(*pipe).Cancel();
    static_cast<IByteDataOutput&>(*pipe).Cancel();
}

TEST(DuplexPipe, IsMadeOfPipesWithoutADescriptor)
{
    LogCapture log;
    unsigned long limit = 0;
    auto input = std::make_unique<NiceMock<MockProtocol>>();
    auto output = std::make_unique<NiceMock<MockProtocol>>();
    EXPECT_CALL(*input, Bind(NotNull()));
    EXPECT_CALL(*input, Move(data, 5)).WillOnce(Return(3));
    EXPECT_CALL(*output, Bind(NotNull()));
    EXPECT_CALL(*output, Move(data, 6)).WillOnce(Return(4));
    auto pipe = DataInputOutputPipe::Create("", std::move(input), std::move(output), true, limit);
    EXPECT_EQ(std::exchange(limit, 0), 1024);
    EXPECT_EQ(pipe->Read(data, 5), 3);
    EXPECT_EQ(pipe->Write(data, 6), 4);

    pipe = DataInputOutputPipe::Create("", false, limit);
    EXPECT_EQ(limit, 1024);
    EXPECT_EQ(dynamic_cast<DataInputOutputPipe&>(*pipe).GetPipeHandle(), nullptr);
    EXPECT_EQ(pipe->Read(data, 5) + pipe->Write(data, 5), 0);
    EXPECT_THAT(log.Take(), Contains(LogLine{'I', OutputEnd::kFile, "Trying to write 5 bytes to the output pipe"}));
}

TEST(StandardEndpoints, ForwardToTheirSide)
{
    const SP<DataStdInput> input(new DataStdInput);
    const SP<DataStdOutput> output(new DataStdOutput);
    const auto read = [&](ioSize size) { return input->Read(data, size); };
    const auto write = [&](ioSize size) { return output->Write(data, size); };
    ExpectSide([&](auto side) { input->SetInputPipe(side); }, read, "DataStdInput.cpp", kNoInput);
    ExpectSide([&](auto side) { output->SetOutputPipe(side); }, write, "DataStdOutput.cpp", kNoOutput);

    unsigned long limit = 77;
    EXPECT_EQ(input->GetPipeHandle(), nullptr);
    EXPECT_EQ(output->GetPipeHandle(), nullptr);
    EXPECT_EQ(DataStdInput::Create(limit), nullptr);
    EXPECT_EQ(DataStdOutput::Create(limit), nullptr);
    EXPECT_EQ(limit, 77);
}

using StandardInput = PipeFixture<InputEnd>;
using StandardOutput = PipeFixture<OutputEnd>;

TEST_F(StandardInput, ReadsWhatOneTransferOfAPipeGives)
{
    const SP<DataStdInput> input(new DataStdInput);
    input->SetInputPipe(DataInputPipe::Create(name, std::make_unique<ByteDataInputRawProtocol>(), false));
    Send(0, 60);
    Detach();
    input->Cancel();
    EXPECT_EQ(input->Read(Data(), 100), 60);
    EXPECT_TRUE(Arrived(60));
    EXPECT_THAT(Lines(), EndsWith(Step("100", "60") + InputEnd::Trying("40") + InputEnd::kEnd));
}

TEST_F(StandardOutput, WritesWhatOneTransferToAPipeTakes)
{
    const SP<DataStdOutput> output(new DataStdOutput);
    output->SetOutputPipe(DataOutputPipe::Create(name, std::make_unique<ByteDataOutputRawProtocol>(), false));
    log.When("1024 bytes", [this] { Detach(); });
    output->Cancel();
    EXPECT_EQ(output->Write(Data(), 2500), 1024);
    EXPECT_THAT(Lines(), EndsWith(Step("1024", "1024") + Failed("1024", "32", "Broken pipe")));
}

}  // namespace
