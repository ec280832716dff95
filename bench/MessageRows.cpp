#include <fcntl.h>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

#include <TarselIO/CommunicationChannel.h>
#include <TarselIO/DataInputPipe.h>
#include <TarselIO/DataInputString.h>
#include <TarselIO/DataOutputPipe.h>
#include <TarselIO/DataOutputString.h>

#include "Floors.h"
#include "Row.h"
#include "Support/TemporaryDirectory.h"

namespace Bench
{
namespace
{

namespace Core = Tarsel::Core;
using benchmark::State;

/// A named pipe that is held open both ways, so that opening an end never waits for the other.
class Fifo
{
public:
    Fifo() : m_path(m_directory.Fifo("pipe")), m_descriptor(::open(m_path.c_str(), O_RDWR)) {}
    ~Fifo() { ::close(m_descriptor); }
    Fifo(const Fifo&) = delete;
    Fifo& operator=(const Fifo&) = delete;

    const std::string& Path() const { return m_path; }

private:
    TemporaryDirectory m_directory;
    std::string m_path;
    int m_descriptor;
};

// The two sides, with the same operations.

struct Library
{
    static auto OpenInput(const Fifo& fifo) { return Core::DataInputPipe::Create(fifo.Path(), true); }
    static auto OpenOutput(const Fifo& fifo) { return Core::DataOutputPipe::Create(fifo.Path(), true); }
    static auto MakeDirect(const Tarsel::SP<Core::IByteDataInput>& input,
                           const Tarsel::SP<Core::IByteDataOutput>& output)
    {
        return Core::CommunicationChannel::Create(input, output, false);
    }
    static auto MakeThreaded(const Fifo& from, const Fifo& to)
    {
        return Core::CommunicationChannel::Create(OpenInput(from), OpenOutput(to), true);
    }
};

struct Floor
{
    static auto OpenInput(const Fifo& fifo) { return MakePipeInput(fifo.Path()); }
    static auto OpenOutput(const Fifo& fifo) { return MakePipeOutput(fifo.Path()); }
    static auto MakeDirect(const Tarsel::SP<Core::IByteDataInput>& input,
                           const Tarsel::SP<Core::IByteDataOutput>& output)
    {
        return MakeDirectChannel(input, output);
    }
    static auto MakeThreaded(const Fifo& from, const Fifo& to)
    {
        return MakeThreadedChannel(OpenInput(from), OpenOutput(to));
    }
};

/// Writes into a pipe and reads back.
template <class Side>
void MeasurePipe(State& state, ioSize size)
{
    const Fifo fifo;
    const auto input = Side::OpenInput(fifo);
    const auto output = Side::OpenOutput(fifo);
    std::vector<uint8_t> buffer(size);
    ioSize moved = 0;
    for (auto _ : state)
    {
        output->Write(SampleBytes(), size);
        moved += input->Read(buffer.data(), size);
    }
    ExpectMoved(state, moved, size);
}

/// Writes a message into a string and reads it back from there.
template <class Side>
void MeasureDirect(State& state, ioSize size)
{
    std::string wire(size + sizeof(ioSize), '\0');
    const auto input = Core::DataInputString::Create(&wire);
    const auto output = Core::DataOutputString::Create(&wire);
    const auto channel = Side::MakeDirect(input, output);
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

/// Sends each message back, up to one of a single byte.
template <class Channel>
void Echo(const Channel& channel, ioSize size)
{
    std::vector<uint8_t> buffer(size);
    for (ioSize count = channel->Read(buffer.data(), size); count != 1; count = channel->Read(buffer.data(), size))
    {
        channel->Write(buffer.data(), count);
    }
}

/// Sends a message to another thread and waits until it comes back.
template <class Side>
void MeasureRoundTrip(State& state, ioSize size)
{
    const Fifo there;
    const Fifo back;
    const auto near = Side::MakeThreaded(back, there);
    const auto far = Side::MakeThreaded(there, back);
    std::thread echo([&far, size] { Echo(far, size); });
    std::vector<uint8_t> buffer(size);
    ioSize moved = 0;
    for (auto _ : state)
    {
        near->Write(SampleBytes(), size);
        moved += near->Read(buffer.data(), size);
    }
    ExpectMoved(state, moved, size);
    near->Write(SampleBytes(), 1);
    echo.join();
    // An empty frame each way lets both channels' threads end.
    near->Write(nullptr, 0);
    far->Write(nullptr, 0);
}

}  // namespace

void AddMessageRows()
{
    for (const ioSize size : {ioSize{64}, kKiB})
    {
        AddRow(
            NameWithSize("pipe, one thread", size),
            [=](State& state) { MeasurePipe<Library>(state, size); },
            [=](State& state) { MeasurePipe<Floor>(state, size); });
    }
    for (const ioSize size : {ioSize{16}, kKiB})
    {
        AddRow(
            NameWithSize("channel, direct", size),
            [=](State& state) { MeasureDirect<Library>(state, size); },
            [=](State& state) { MeasureDirect<Floor>(state, size); });
        AddRow(
            NameWithSize("channel, threaded round trip", size),
            [=](State& state) { MeasureRoundTrip<Library>(state, size); },
            [=](State& state) { MeasureRoundTrip<Floor>(state, size); });
    }
}

}  // namespace Bench
