#pragma once

#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

#include "Support/TemporaryDirectory.h"
#include "rows/Row.h"

namespace Bench
{

// How contenders that connect two processes are measured: the near process, to which the figures belong, and the far
// one, its child. An end is a class with
//   End(Meeting&, Side)              connects the two; both sides are made at the same time
//   void Send(data, size)
//   ioSize Receive(data, size)       returns the size of the message, at most `size`
//   void Stop()                      makes the far side's Receive return a size different from all before

/// Switches the pipes' log lines on or off for as long as it lives. Main sends the log to a sink that drops it.
class LogSwitch
{
public:
    explicit LogSwitch(bool isOn);
    ~LogSwitch();
    LogSwitch(const LogSwitch&) = delete;
    LogSwitch& operator=(const LogSwitch&) = delete;

private:
    int m_before;
};

/// The two sides of a measurement.
enum class Side
{
    Near,
    Far
};

/// What two processes need to find each other, made before the fork.
class Meeting
{
public:
    Meeting();
    ~Meeting();
    Meeting(const Meeting&) = delete;
    Meeting& operator=(const Meeting&) = delete;

    /// A named pipe that `side` writes.
    const std::string& PipeFrom(Side side) const { return side == Side::Near ? m_there : m_back; }

    /// A path without a file.
    std::string Path(const std::string& name) const { return m_directory.Path(name); }

    /// Takes ownership of one of two connected sockets and closes the other.
    int TakeSocket(Side side);

private:
    TemporaryDirectory m_directory;
    std::string m_there;
    std::string m_back;
    int m_sockets[2];
};

/// A child process that works and reports a number. If its parent ends, so does it.
class ChildProcess
{
public:
    /// `work(report)` runs in the child and calls `report(number)` once.
    template <class Work>
    explicit ChildProcess(Work work)
    {
        if (Fork())
        {
            RunAndExit([&] { work([this](ioSize number) { Report(number); }); });
        }
    }

    /// Waits for the child.
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// Waits for the child's report and returns it; 2^64-1 if the child ended without one.
    ioSize Result() const;

private:
    /// Returns true in the child.
    bool Fork();
    [[noreturn]] static void RunAndExit(const std::function<void()>& work);
    void Report(ioSize number) const;

    pid_t m_process = -1;
    int m_pipe[2] = {-1, -1};
};

/// Receives messages of `size` bytes until one of another size arrives, sends each one back if `answers` is true, and
/// returns how many there were.
template <class End>
ioSize Serve(End& end, ioSize size, bool answers)
{
    std::vector<uint8_t> buffer(size);
    ioSize count = 0;
    while (end.Receive(buffer.data(), size) == size)
    {
        ++count;
        if (answers)
        {
            end.Send(buffer.data(), size);
        }
    }
    return count;
}

/// Starts a child process that receives; `round(end)` is what the near side does in each round.
template <class End, class Round>
void MeasureWithChild(benchmark::State& state, ioSize size, bool answers, Round round)
{
    Meeting meeting;
    const ChildProcess far(
        [&](const auto& report)
        {
            End end(meeting, Side::Far);
            report(Serve(end, size, answers));
        });
    End near(meeting, Side::Near);
    for (auto _ : state)
    {
        round(near);
    }
    near.Stop();
    Expect(state, far.Result() == static_cast<ioSize>(state.iterations()));
}

/// Sends messages of `size` bytes to another process.
template <class End>
void MeasureOneWay(benchmark::State& state, ioSize size)
{
    MeasureWithChild<End>(state, size, false, [=](End& near) { near.Send(SampleBytes(), size); });
}

/// Sends a message to another process and waits until it comes back.
template <class End>
void MeasureRoundTrip(benchmark::State& state, ioSize size)
{
    std::vector<uint8_t> buffer(size);
    MeasureWithChild<End>(state,
                          size,
                          true,
                          [&](End& near)
                          {
                              near.Send(SampleBytes(), size);
                              Expect(state, near.Receive(buffer.data(), size) == size);
                          });
}

constexpr ioSize kPipeSizes[] = {64, kKiB, 64 * kKiB, kMiB};
constexpr ioSize kRoundTripSizes[] = {16, kKiB};
constexpr ioSize kOneWaySizes[] = {64 * kKiB, kMiB};

constexpr char kPipeTwoProcesses[] = "pipe, two processes";
constexpr char kRoundTrip[] = "channel, round trip";
constexpr char kOneWay[] = "channel, one way";

/// Adds a contender to the rows of the threaded channel.
template <class End>
void AddMessagePeer(const char* peer)
{
    for (const ioSize size : kRoundTripSizes)
    {
        AddPeer(
            NameWithSize(kRoundTrip, size), peer, [=](benchmark::State& state) { MeasureRoundTrip<End>(state, size); });
    }
    for (const ioSize size : kOneWaySizes)
    {
        AddPeer(NameWithSize(kOneWay, size), peer, [=](benchmark::State& state) { MeasureOneWay<End>(state, size); });
    }
}

}  // namespace Bench
