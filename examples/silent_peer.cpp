// Stopping a channel whose peer is alive but silent. A channel's end waits for its background thread, and that for the
// input. Cancel of the library's pipes cannot wake a thread that waits there: it would wait until the peer writes or
// goes. Over streams whose Cancel does (Support/AsioStreams) the end comes at once, over sockets and pipes alike.

#include <array>
#include <chrono>
#include <csignal>
#include <cstring>
#include <exception>
#include <functional>
#include <future>
#include <iostream>
#include <stdexcept>
#include <string>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <vector>

#include <CLI/CLI.hpp>

#include <Support/AsioStreams.h>
#include <Support/Program.h>
#include <TarselGuard/GuardedFrameInput.h>
#include <TarselIO/CommunicationChannel.h>
#include <TarselIO/DataInputFF.h>
#include <TarselIO/DataOutputFF.h>

namespace
{

using Tarsel::SP;
using namespace Tarsel::Core;

constexpr char kDescription[] =
    "Starts a process that sends one message and nothing more, waits for a while and\n"
    "gives up: over a socket and a pipe. Prints how long it takes to end the channel\n"
    "while the other process lives.";
constexpr char kExitStatus[] =
    "Exits with status 0 if the channels ended, with 1 after a failure and with 2 if\n"
    "the command line is wrong.";

constexpr std::array<uint8_t, 5> kMessage = {'h', 'e', 'l', 'l', 'o'};

/// A process that writes one message to `descriptor` and then does nothing. It ends with this object, or this process.
class SilentPeer
{
public:
    explicit SilentPeer(int descriptor) : m_parent(::getpid()), m_process(Examples::Checked(::fork()))
    {
        if (m_process == 0)
        {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            if (::getppid() != m_parent)  // it ended before the line above
            {
                ::_exit(0);
            }
            ::_exit(SayHello(descriptor));
        }
        ::close(descriptor);
    }
    ~SilentPeer()
    {
        ::kill(m_process, SIGKILL);
        ::waitpid(m_process, nullptr, 0);
    }
    SilentPeer(const SilentPeer&) = delete;
    SilentPeer& operator=(const SilentPeer&) = delete;

    bool IsAlive() const { return End(WNOHANG).si_pid == 0; }

    /// Waits for its end and throws why it came.
    [[noreturn]] void ThrowEnd() const
    {
        const siginfo_t end = End(0);
        if (end.si_code != CLD_EXITED)
        {
            throw std::runtime_error(std::string("the other process was ended by a signal: ") +
                                     ::strsignal(end.si_status));
        }
        throw std::system_error(end.si_status, std::generic_category(), "the other process has ended");
    }

private:
    /// Returns only after a failure; then its reason, which is the exit status.
    static int SayHello(int descriptor)
    {
        try
        {
            const SP<IByteDataOutput> output(new Examples::AsioOutput(descriptor));
            CommunicationChannel::Create(DataInputFF::Create(""), output, false)
                ->Write(kMessage.data(), kMessage.size());
            for (;; ::pause())
            {
            }
        }
        catch (const std::system_error& error)
        {
            return error.code().value();
        }
    }

    /// Can be asked again.
    siginfo_t End(int options) const
    {
        siginfo_t end = {};
        ::waitid(P_PID, static_cast<id_t>(m_process), &end, WEXITED | WNOWAIT | options);
        return end;
    }

    pid_t m_parent;
    pid_t m_process;
};

/// The end of a channel's input, which the channel itself does not report.
class InputEnd
{
public:
    /// For the guard. When the input has failed, this is where its exception is handled.
    void operator()(FrameEnd /*why*/) { m_end.set_value(std::current_exception()); }

    /// Waits for it; throws what the input has failed with.
    bool Comes(std::chrono::milliseconds patience)
    {
        if (m_failure.wait_for(patience) != std::future_status::ready)
        {
            return false;
        }
        if (m_failure.get() != nullptr)
        {
            std::rethrow_exception(m_failure.get());
        }
        return true;
    }

private:
    std::promise<std::exception_ptr> m_end;
    std::shared_future<std::exception_ptr> m_failure = m_end.get_future();
};

/// Whether a message comes before the time is over and the input ends.
bool Arrives(const IDataChannel& channel, InputEnd& end, std::chrono::milliseconds patience)
{
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!channel.IsDataAvaliable() && std::chrono::steady_clock::now() < deadline)
    {
        if (end.Comes(std::chrono::milliseconds(1)))
        {
            return false;
        }
    }
    return channel.IsDataAvaliable();
}

void GiveUp(const char* kind, const std::array<int, 2>& ends)
{
    const SilentPeer peer(ends[1]);
    InputEnd end;  // released after the channel
    const SP<IByteDataInput> input(new Examples::AsioInput(ends[0]));
    SP<IDataChannel> channel = CommunicationChannel::Create(
        GuardedFrameInput::Create(input, kMessage.size(), std::ref(end)), DataOutputFF::Create(""), true);
    std::array<uint8_t, kMessage.size()> message = {};
    const bool behaves = Arrives(*channel, end, std::chrono::minutes(1)) &&
                         channel->Read(message.data(), message.size()) != 0 && message == kMessage &&
                         !Arrives(*channel, end, std::chrono::milliseconds(200));
    if (end.Comes(std::chrono::milliseconds(0)))
    {
        peer.ThrowEnd();
    }
    if (!behaves)
    {
        throw std::runtime_error("the other process does not behave as it should");
    }

    const auto start = std::chrono::steady_clock::now();
    channel.reset();  // which calls the input's Cancel and waits for the thread
    const auto time = std::chrono::steady_clock::now() - start;
    if (!peer.IsAlive())
    {
        throw std::runtime_error("the other process has gone by itself");
    }
    std::cout << kind << ": ended within " << std::chrono::duration_cast<std::chrono::milliseconds>(time).count() + 1
              << " ms while the other process was silent\n";
}

void Run()
{
    std::array<int, 2> ends = {};
    Examples::Checked(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()));
    GiveUp("socket", ends);
    Examples::Checked(::pipe(ends.data()));
    GiveUp("pipe", ends);
}

}  // namespace

// Only a mistake in the description of the command line throws.
int main(int argc, char** argv)  // NOLINT(bugprone-exception-escape)
{
    CLI::App app(kDescription);
    app.footer(kExitStatus);
    return Examples::RunProgram(app, argc, argv, &Run);
}
