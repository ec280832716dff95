#pragma once

#include <csignal>
#include <functional>
#include <mutex>
#include <sys/types.h>

#include <Support/Connection.h>
#include <Support/LogWatch.h>
#include <Support/TemporaryFiles.h>

namespace Examples
{

/// Blocks the signals with which users end programs, and SIGCHLD, for as long as this object lives; Wait receives them.
/// Threads and processes that are started in that time block them as well.
class HeldSignals
{
public:
    HeldSignals();
    ~HeldSignals();
    HeldSignals(const HeldSignals&) = delete;
    HeldSignals& operator=(const HeldSignals&) = delete;

    /// Waits for one of the signals and returns which it was (`si_signo`) and which process sent it (`si_pid`).
    siginfo_t Wait() const;

private:
    sigset_t m_held;
    sigset_t m_previousMask;
};

/// Two processes that talk over a channel. Whatever happens, neither continues without the other, and no temporary file
/// is left.
///
/// Opening a pipe cannot be cancelled, and a channel's Read waits forever when no more messages come. So a thread in
/// each process watches the other process: the first process receives SIGCHLD, the second one a signal that the kernel
/// sends when its parent ends. The thread then ends its own process at once. So does the end of the channel's input,
/// and so does an exception: destroying the channel first would wait for the other side, which does not know that
/// anything is wrong. A signal that ends one process ends both.
class TwoProcesses
{
public:
    using Talk = std::function<void(Tarsel::Core::IDataChannel& channel)>;

    /// The files to remove at the end. If one process is killed, the other one removes them.
    TemporaryFiles& Files() { return m_files; }

    /// Starts the second process, runs `first` in this one and `second` in that one, each with its end of the channel.
    /// Returns when both have succeeded. The process that fails reports it; then both exit with status 1.
    void Run(const Talk& first, const Talk& second);

private:
    using Channel = Tarsel::SP<Tarsel::Core::IDataChannel>;
    using Connect = Channel (*)(const PipeNames& pipes, const EndHandler& onEnd);

    [[noreturn]] void RunSecond(const Talk& talk);
    void Converse(Connect connect, Channel& channel, const Talk& talk);

    void WatchSecond();
    void WatchFirst();
    siginfo_t EndOfSecond() const;
    bool OtherHasEnded() const;

    [[noreturn]] void EndByException();
    [[noreturn]] void EndByPeer();
    [[noreturn]] void EndBySignal(int signal);
    void CleanUp();

    HeldSignals m_signals;  // first, so that no signal comes through before the files are removed
    TemporaryFiles m_files;
    PipeNames m_pipes;
    pid_t m_first = 0;
    pid_t m_second = 0;  // 0 in the second process itself
    LogWatch m_log;
    std::timed_mutex m_ending;  // taken by the thread that ends the process, and never released
};

}  // namespace Examples
