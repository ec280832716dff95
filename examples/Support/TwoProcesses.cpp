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

/// Sent to the second process when the first one has ended.
constexpr int kParentEnded = SIGTERM;

/// A process has its pipes open until it ends. So when a connection ends because the other process does, that process
/// has ended after a moment. If it has not, the connection itself has failed.
constexpr std::chrono::seconds kMoment(1);

/// Without memory a process ends, whichever of its threads asked for it. An exception would not do: in a channel's
/// background thread it only ends the reading, and both processes would wait forever.
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
    // Where SIGCHLD is ignored, which a program may inherit, children end without a trace.
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
    // A plain fork, since no thread runs yet: the second process has all that it needs to know, with what the program
    // has opened for it, and nothing has to be passed on a command line.
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
    // Kept until the second process has ended, so that its farewell is received. Releasing the channel waits for the
    // end of its background thread, which the farewell has brought about.
    Channel channel;
    Converse(&ConnectFirst, channel, first);
    watch.join();
    channel.reset();  // before the second process is forgotten: a read that fails now still ends both
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
    const auto talkAndPart = [&](Tarsel::Core::IDataChannel& /*channel*/)
    {
        talk(*channel);
        // The farewell: an empty frame ends the other side's background thread. Only one side says it and stays while
        // the other one leaves. If both released their channels first, each would wait for the other to close its
        // pipes.
        channel->Write(nullptr, 0);
    };
    Converse(&ConnectSecond, channel, talkAndPart);
    // Without unwinding, which would release this channel, too, and what belongs to the first process.
    ::_exit(EXIT_SUCCESS);
}

/// What is thrown, or the end of the channel's input, ends the process and does not release the channel.
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
        // Both ends are open. Without their names the pipes vanish with the processes, whatever becomes of these.
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
        // What other signals mean is for the first process to decide. The terminal sends them to both.
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

/// How the second process ended. That can be asked again; `si_pid` is 0 while it runs.
siginfo_t TwoProcesses::EndOfSecond() const
{
    siginfo_t end = {};
    ::waitid(P_PID, static_cast<id_t>(m_second), &end, WEXITED | WNOWAIT | WNOHANG);
    return end;
}

/// Waits a moment for it.
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
    ::_exit(EXIT_FAILURE);  // any other second process has said itself why it failed
}

void TwoProcesses::EndBySignal(int signal)
{
    // A thread that ends the process has cleaned up before. If it cannot get its report out, this one does not wait.
    if (m_ending.try_lock_for(kMoment))
    {
        CleanUp();
    }
    // Whoever started this program may want to know that it was this signal that ended it.
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
        // Before the files go, so that it makes no new ones.
        ::kill(m_second, SIGKILL);
        ::waitpid(m_second, nullptr, 0);
    }
    m_files.RemoveAll();
    // What comes now is a report at most. If nobody takes it, the process does not wait for that.
    std::signal(SIGALRM, [](int /*signal*/) { ::_exit(EXIT_FAILURE); });
    ::alarm(2);
}

}  // namespace Examples
