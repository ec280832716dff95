#include <string>

#include <TarselIO/CommunicationChannel.h>
#include <TarselIO/DataInputPipe.h>
#include <TarselIO/DataInputString.h>
#include <TarselIO/DataOutputPipe.h>
#include <TarselIO/DataOutputString.h>

#include "floors/Floors.h"
#include "rows/MessageMeasures.h"

namespace Bench
{
namespace
{

namespace Core = Tarsel::Core;
using benchmark::State;
using Input = Tarsel::SP<Core::IByteDataInput>;
using Output = Tarsel::SP<Core::IByteDataOutput>;

struct Library
{
    using Channel = Tarsel::SP<Core::IDataChannel>;
    static auto OpenInput(const std::string& path) { return Core::DataInputPipe::Create(path, true); }
    static auto OpenOutput(const std::string& path) { return Core::DataOutputPipe::Create(path, true); }
    static Channel MakeDirect(const Input& input, const Output& output)
    {
        return Core::CommunicationChannel::Create(input, output, false);
    }
    static Channel MakeThreaded(const Input& input, const Output& output)
    {
        return Core::CommunicationChannel::Create(input, output, true);
    }
};

struct Floor
{
    using Channel = FloorChannelPtr;
    static auto OpenInput(const std::string& path) { return MakePipeInput(path, false); }
    static auto OpenOutput(const std::string& path) { return MakePipeOutput(path, false); }
    static Channel MakeDirect(const Input& input, const Output& output) { return MakeDirectChannel(input, output); }
    static Channel MakeThreaded(const FloorInputPtr& input, const FloorOutputPtr& output)
    {
        return MakeThreadedChannel(input, output);
    }
};

/// Writes a message into a string and reads it back from there.
template <class Channels>
void MeasureDirect(State& state, ioSize size)
{
    std::string wire(size + sizeof(ioSize), '\0');
    const auto input = Core::DataInputString::Create(&wire);
    const auto output = Core::DataOutputString::Create(&wire);
    const auto channel = Channels::MakeDirect(input, output);
    std::vector<uint8_t> buffer(size);
    ioSize moved = 0;
    for (auto _ : state)
    {
        input->SetPosition(0);
        output->SetPosition(0);
        channel->Write(SampleBytes(), size);
        moved += channel->Read(buffer.data(), channel->ReadHeader());
    }
    ExpectMoved(state, moved, size);
}

/// A threaded channel over two pipes.
template <class Channels>
class ChannelEnd
{
public:
    ChannelEnd(const Meeting& meeting, Side side) : m_channel(Open(meeting, side)) {}

    /// Sends an empty frame, which ends the other side's thread.
    ~ChannelEnd() { m_channel->Write(nullptr, 0); }
    ChannelEnd(const ChannelEnd&) = delete;
    ChannelEnd& operator=(const ChannelEnd&) = delete;

    void Send(const uint8_t* data, ioSize size) { m_channel->Write(data, size); }
    ioSize Receive(uint8_t* data, ioSize size) { return m_channel->Read(data, size); }
    void Stop() { Send(SampleBytes(), 1); }

private:
    /// Opening a pipe waits for the other side, so both sides open them in the same order.
    static auto Open(const Meeting& meeting, Side side)
    {
        const std::string& there = meeting.PipeFrom(Side::Near);
        const std::string& back = meeting.PipeFrom(Side::Far);
        if (side == Side::Near)
        {
            const auto output = Channels::OpenOutput(there);
            return Channels::MakeThreaded(Channels::OpenInput(back), output);
        }
        const auto input = Channels::OpenInput(there);
        return Channels::MakeThreaded(input, Channels::OpenOutput(back));
    }

    typename Channels::Channel m_channel;
};

}  // namespace

void AddChannelRows()
{
    for (const ioSize size : {ioSize{16}, kKiB, 64 * kKiB})
    {
        AddRow(
            {NameWithSize("channel, direct", size), 1.05},
            [=](State& state) { MeasureDirect<Library>(state, size); },
            [=](State& state) { MeasureDirect<Floor>(state, size); });
    }
    for (const ioSize size : kRoundTripSizes)
    {
        AddRow(
            {NameWithSize(kRoundTrip, size), 1.10, Clock::Wall},
            [=](State& state) { MeasureRoundTrip<ChannelEnd<Library>>(state, size); },
            [=](State& state) { MeasureRoundTrip<ChannelEnd<Floor>>(state, size); });
    }
    for (const ioSize size : kOneWaySizes)
    {
        AddRow(
            {NameWithSize(kOneWay, size), 1.05, Clock::Wall},
            [=](State& state) { MeasureOneWay<ChannelEnd<Library>>(state, size); },
            [=](State& state) { MeasureOneWay<ChannelEnd<Floor>>(state, size); });
    }
}

}  // namespace Bench
