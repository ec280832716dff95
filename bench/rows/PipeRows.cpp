#include <fcntl.h>
#include <stdexcept>
#include <string>
#include <unistd.h>

#include <TarselIO/DataInputPipe.h>
#include <TarselIO/DataOutputPipe.h>

#include "floors/Floors.h"
#include "rows/MessageMeasures.h"

namespace Bench
{
namespace
{

namespace Core = Tarsel::Core;
using benchmark::State;

/// A named pipe with room for a MiB that is held open both ways, so that one thread can do all the work.
class RoomyPipe
{
public:
    RoomyPipe() : m_path(m_directory.Fifo("pipe")), m_descriptor(::open(m_path.c_str(), O_RDWR))
    {
        if (::fcntl(m_descriptor, F_SETPIPE_SZ, kMiB) < static_cast<int>(kMiB))
        {
            throw std::runtime_error("no pipe of a MiB");
        }
    }
    ~RoomyPipe() { ::close(m_descriptor); }
    RoomyPipe(const RoomyPipe&) = delete;
    RoomyPipe& operator=(const RoomyPipe&) = delete;

    const std::string& Path() const { return m_path; }

private:
    TemporaryDirectory m_directory;
    std::string m_path;
    int m_descriptor;
};

/// The library's pipes, which log as much as the log is set to.
template <bool Logs>
struct Library
{
    using Input = Tarsel::SP<Core::IByteDataInputEx>;
    using Output = Tarsel::SP<Core::IByteDataOutputEx>;
    static Input OpenInput(const std::string& path) { return Core::DataInputPipe::Create(path, true); }
    static Output OpenOutput(const std::string& path) { return Core::DataOutputPipe::Create(path, true); }
};

template <bool Logs>
struct Floor
{
    using Input = FloorInputPtr;
    using Output = FloorOutputPtr;
    static Input OpenInput(const std::string& path) { return MakePipeInput(path, Logs); }
    static Output OpenOutput(const std::string& path) { return MakePipeOutput(path, Logs); }
};

/// A pipe from the near process to the far one.
template <class Pipes>
class PipeEnd
{
public:
    PipeEnd(const Meeting& meeting, Side side)
    {
        const std::string& path = meeting.PipeFrom(Side::Near);
        if (side == Side::Near)
        {
            m_output = Pipes::OpenOutput(path);
        }
        else
        {
            m_input = Pipes::OpenInput(path);
        }
    }

    void Send(const uint8_t* data, ioSize size) { m_output->Write(data, size); }
    ioSize Receive(uint8_t* data, ioSize size) { return m_input->Read(data, size); }
    void Stop() { m_output.reset(); }

private:
    typename Pipes::Input m_input;
    typename Pipes::Output m_output;
};

/// Writes into a pipe and reads back.
template <class Pipes>
void MeasureOneThread(State& state, ioSize size)
{
    const RoomyPipe pipe;
    const auto input = Pipes::OpenInput(pipe.Path());
    const auto output = Pipes::OpenOutput(pipe.Path());
    std::vector<uint8_t> buffer(size);
    ioSize moved = 0;
    for (auto _ : state)
    {
        output->Write(SampleBytes(), size);
        moved += input->Read(buffer.data(), size);
    }
    ExpectMoved(state, moved, size);
}

template <bool Logs>
void AddRows(const std::string& suffix, double smallTarget, double largeTarget)
{
    const auto logging = [](auto measure, ioSize size)
    {
        return [=](State& state)
        {
            const LogSwitch log(Logs);
            measure(state, size);
        };
    };
    for (const ioSize size : kPipeSizes)
    {
        const double target = size < kKiB ? smallTarget : largeTarget;
        AddRow({NameWithSize("pipe, one thread" + suffix, size), target},
               logging(&MeasureOneThread<Library<Logs>>, size),
               logging(&MeasureOneThread<Floor<Logs>>, size));
    }
    for (const ioSize size : kPipeSizes)
    {
        const double target = size < kKiB ? smallTarget : largeTarget;
        AddRow({NameWithSize(kPipeTwoProcesses + suffix, size), target, Clock::Wall},
               logging(&MeasureOneWay<PipeEnd<Library<Logs>>>, size),
               logging(&MeasureOneWay<PipeEnd<Floor<Logs>>>, size));
    }
}

}  // namespace

void AddPipeRows()
{
    AddRows<false>("", 1.10, 1.05);
    AddRows<true>(", logged", 1.05, 1.05);
}

}  // namespace Bench
