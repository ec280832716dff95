#include <Support/TwoProcesses.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>

#include <Support/Program.h>

namespace Examples
{
namespace
{

/// The second process receives this signal when the first one has ended.
constexpr int kParentEnded = SIGTERM;

/// A process keeps its pipes open until it ends. So if a connection ends because the other process does, that process
/// is gone within this time. If it is not, the connection itself has failed.
constexpr std::chrono::seconds kMoment(1);

/// A process that runs out of memory ends, whichever of its threads needed the memory. An exception is not enough: in a
/// channel's background thread it only ends the reading, and both processes would wait forever.
void EndWithoutMemory()
{
    static constexpr char kText[] = "out of memory\n";
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, kText, sizeof(kText) - 1);
    ::_exit(EXIT_FAILURE);  // the other process removes the files
}

bool IsIgnored(int signal)
{
    struct sigaction action = {};
    ::sigaction(signal, nullptr, &action);
    return action.sa_handler == SIG_IGN;
}

}  // namespace

HeldSignals::HeldSignals()
{
    ::sigemptyset(&m_held);
    for (const int signal : {SIGINT, SIGQUIT, SIGTERM, SIGCHLD})
    {
        ::sigaddset(&m_held, signal);
    }
    if (!IsIgnored(SIGHUP))  // as it is under nohup
    {
        ::sigaddset(&m_held, SIGHUP);
    }
    ::pthread_sigmask(SIG_BLOCK, &m_held, &m_previousMask);
    // A program may inherit an ignored SIGCHLD. Then its children would end without leaving an exit status.
    std::signal(SIGCHLD, SIG_DFL);
}

HeldSignals::~HeldSignals()
{
    ::pthread_sigmask(SIG_SETMASK, &m_previousMask, nullptr);
}

siginfo_t HeldSignals::Wait() const
{
    siginfo_t received = {};
    while (::sigwaitinfo(&m_held, &received) == -1 && errno == EINTR)
    {
    }
    return received;
}

void TwoProcesses::Run(const Talk& first, const Talk& second)
{
    m_pipes = {m_files.MakePipe(), m_files.MakePipe()};
    m_first = ::getpid();
    // A plain fork is safe, since no other thread runs yet. The second process inherits everything that it needs, also
    // what the program has opened for it, so nothing has to be passed on a command line.
    m_second = ::fork();
    if (m_second == -1)
    {
        throw std::system_error(errno, std::generic_category(), "cannot start the second process");
    }
    std::set_new_handler(&EndWithoutMemory);
    if (m_second == 0)
    {
        RunSecond(second);
    }
    std::thread watch(&TwoProcesses::WatchSecond, this);
    // Kept until the second process has ended, so that its empty frame is received. Destroying the channel waits for
    // its background thread, which the empty frame has ended.
    Channel channel;
    Converse(&ConnectFirst, channel, first);
    watch.join();
    channel.reset();  // before the second process is waited for: a read that fails now still ends both
    ::waitpid(m_second, nullptr, 0);
}

void TwoProcesses::RunSecond(const Talk& talk)
{
    ::prctl(PR_SET_PDEATHSIG, kParentEnded);
    if (::getppid() != m_first)  // it ended before the line above
    {
        EndByPeer();
    }
    std::thread(&TwoProcesses::WatchFirst, this).detach();
    Channel channel;
    const auto talkAndFinish = [&](Tarsel::Core::IDataChannel& /*channel*/)
    {
        talk(*channel);
        // The empty frame ends the other side's background thread. Only one side sends it, and keeps its channel until
        // the other side is gone. If both destroyed their channels at once, each would wait for the other to close its
        // pipes.
        channel->Write(nullptr, 0);
    };
    Converse(&ConnectSecond, channel, talkAndFinish);
    // Without unwinding, which would also destroy this channel and remove what belongs to the first process.
    ::_exit(EXIT_SUCCESS);
}

/// An exception, or the end of the channel's input, ends the process without destroying the channel.
void TwoProcesses::Converse(Connect connect, Channel& channel, const Talk& talk)
{
    const auto onEnd = [this](Tarsel::Core::FrameEnd why)
    {
        if (why != Tarsel::Core::FrameEnd::Farewell)
        {
            EndByPeer();
        }
    };
    try
    {
        channel = connect(m_pipes, onEnd);
        // Both ends are open. Once their names are removed, the pipes vanish with the processes, however those end.
        m_files.Remove(m_pipes.toSecond);
        m_files.Remove(m_pipes.toFirst);

        talk(*channel);
    }
    catch (const PeerGone&)
    {
        EndByPeer();
    }
    catch (...)
    {
        EndByException();
    }
}

void TwoProcesses::WatchSecond()
{
    for (;;)
    {
        const int signal = m_signals.Wait().si_signo;
        if (signal != SIGCHLD)
        {
            EndBySignal(signal);
        }
        const siginfo_t end = EndOfSecond();
        const bool ended = end.si_pid == m_second;  // not if it was merely stopped or continued
        if (ended && end.si_code == CLD_EXITED && end.si_status == EXIT_SUCCESS)
        {
            return;
        }
        if (ended)
        {
            EndByPeer();
        }
    }
}

void TwoProcesses::WatchFirst()
{
    siginfo_t received = m_signals.Wait();
    while (received.si_signo != kParentEnded)
    {
        // The first process decides what other signals mean. The terminal sends them to both processes.
        if (received.si_signo != SIGCHLD)
        {
            ::kill(m_first, received.si_signo);
        }
        received = m_signals.Wait();
    }
    if (received.si_pid == m_first)
    {
        EndByPeer();
    }
    EndBySignal(received.si_signo);
}

/// Returns how the second process ended, as often as it is called. `si_pid` is 0 while the process runs.
siginfo_t TwoProcesses::EndOfSecond() const
{
    siginfo_t end = {};
    ::waitid(P_PID, static_cast<id_t>(m_second), &end, WEXITED | WNOWAIT | WNOHANG);
    return end;
}

/// Waits up to kMoment for the other process to end and returns whether it has.
bool TwoProcesses::OtherHasEnded() const
{
    const auto hasEnded = [this] { return m_second == 0 ? ::getppid() != m_first : EndOfSecond().si_pid == m_second; };
    const auto deadline = std::chrono::steady_clock::now() + kMoment;
    while (!hasEnded() && std::chrono::steady_clock::now() < deadline)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return hasEnded();
}

void TwoProcesses::EndByException()
{
    m_ending.lock();
    CleanUp();
    ReportCurrentException();
    ::_exit(EXIT_FAILURE);
}

void TwoProcesses::EndByPeer()
{
    const bool otherHasEnded = OtherHasEnded();  // not locked yet, so that a signal still ends this process at once
    m_ending.lock();
    const std::string error = m_log.LastError();
    const siginfo_t end = EndOfSecond();
    const bool endedWell = end.si_code == CLD_EXITED && end.si_status == EXIT_SUCCESS;
    CleanUp();
    if (!otherHasEnded || (endedWell && !error.empty()))
    {
        ReportError("the connection has failed: " + error);
    }
    else if (m_second == 0)
    {
        ReportError("the first process is gone");
    }
    else if (end.si_code != CLD_EXITED)
    {
        ReportError(std::string("the second process was ended by a signal: ") + ::strsignal(end.si_status));
    }
    else if (endedWell)
    {
        ReportError("the second process ended too early");
    }
    ::_exit(EXIT_FAILURE);  // any other second process has reported itself why it failed
}

void TwoProcesses::EndBySignal(int signal)
{
    // If another thread is ending the process, it has cleaned up already. This one waits only a moment for its report.
    if (m_ending.try_lock_for(kMoment))
    {
        CleanUp();
    }
    // So that the program's parent sees which signal ended it.
    std::signal(signal, SIG_DFL);
    sigset_t released;
    ::sigemptyset(&released);
    ::sigaddset(&released, signal);
    ::pthread_sigmask(SIG_UNBLOCK, &released, nullptr);
    std::raise(signal);
    ::_exit(EXIT_FAILURE);
}

void TwoProcesses::CleanUp()
{
    if (m_second != 0)
    {
        // Before the files are removed, so that it makes no new ones.
        ::kill(m_second, SIGKILL);
        ::waitpid(m_second, nullptr, 0);
    }
    m_files.RemoveAll();
    // All that is left to do is to print a report. The process does not wait long for somebody to read it.
    std::signal(SIGALRM, [](int /*signal*/) { ::_exit(EXIT_FAILURE); });
    ::alarm(2);
}

}  // namespace Examples
