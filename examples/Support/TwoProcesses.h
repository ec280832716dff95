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

/// Keeps back the signals by which people end programs, and the one that tells of a child's end, until somebody waits
/// for them or this object goes. Threads and processes that are started meanwhile keep them back as well.
class HeldSignals
{
public:
    HeldSignals();
    ~HeldSignals();
    HeldSignals(const HeldSignals&) = delete;
    HeldSignals& operator=(const HeldSignals&) = delete;

    /// Waits for one of them and returns which it was (`si_signo`) and who sent it (`si_pid`).
    siginfo_t Wait() const;

private:
    sigset_t m_held;
    sigset_t m_previousMask;
};

/// Two processes that talk over a channel. Whatever happens, neither goes on without the other, and no temporary file
/// remains.
///
/// Opening a pipe cannot be called off, and a channel's Read waits forever when nothing more comes. So a thread in each
/// process watches the other process: the first one by SIGCHLD, the second one by a signal that the kernel sends when
/// its parent ends. What the thread sees ends its own process on the spot. So does the end of the channel's input, and
/// an exception: to release the channel on the way out would be to wait for the other side, which does not know that
/// anything is wrong. A signal that ends one process ends both.
class TwoProcesses
{
public:
    using Talk = std::function<void(Tarsel::Core::IDataChannel& channel)>;

    /// Removed at the end, also by the process that survives when the other one is killed.
    TemporaryFiles& Files() { return m_files; }

    /// Starts the second process, runs `first` in this one and `second` in that one, each with its end of the channel.
    /// Returns when both have ended well. A failure is reported by the process that has it; then both end, with 1.
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
