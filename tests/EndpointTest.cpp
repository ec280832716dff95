#include <TarselIO/DataInputOutputPipe.h>
#include <TarselIO/DataStdInput.h>
#include <TarselIO/DataStdOutput.h>

#include "Support/LogCapture.h"
#include "Support/Mocks.h"

using namespace Tarsel::Core;
using namespace testing;
using Tarsel::SP;

namespace
{

uint8_t data[8];

// One side of an endpoint: it forwards to the installed pipe, holds one reference to it and logs an error without one.
template <class Install, class Move>
void ExpectSide(Install install, Move move, const std::string& name, const std::string& side)
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
    const LogLine line{'E', "IO/TarselIO/" + name + ".cpp", "Implementation IByteData" + side + "Ex not defined"};
    EXPECT_THAT(log.Take(), ElementsAre(line, line));
}

TEST(DuplexPipe, ForwardsToBothSides)
{
    const SP<DataInputOutputPipe> pipe(new DataInputOutputPipe("", false));
    const auto read = [&](ioSize size) { return pipe->Read(data, size); };
    const auto write = [&](ioSize size) { return pipe->Write(data, size); };
    ExpectSide([&](auto side) { pipe->SetInputPipe(side); }, read, "DataInputOutputPipe", "Input");
    ExpectSide([&](auto side) { pipe->SetOutputPipe(side); }, write, "DataInputOutputPipe", "Output");
    pipe->Cancel();
}

TEST(DuplexPipe, CancelsOnlyItsInputAndReleasesItsOutputFirst)
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
}

TEST(StandardEndpoints, ForwardToTheirSide)
{
    const SP<DataStdInput> input(new DataStdInput);
    const SP<DataStdOutput> output(new DataStdOutput);
    const auto read = [&](ioSize size) { return input->Cancel(), input->Read(data, size); };
    const auto write = [&](ioSize size) { return output->Cancel(), output->Write(data, size); };
    ExpectSide([&](auto side) { input->SetInputPipe(side); }, read, "DataStdInput", "Input");
    ExpectSide([&](auto side) { output->SetOutputPipe(side); }, write, "DataStdOutput", "Output");

    unsigned long limit = 77;
    EXPECT_EQ(input->GetPipeHandle(), nullptr);
    EXPECT_EQ(output->GetPipeHandle(), nullptr);
    EXPECT_EQ(DataStdInput::Create(limit), nullptr);
    EXPECT_EQ(DataStdOutput::Create(limit), nullptr);
    EXPECT_EQ(limit, 77);
}

}  // namespace
