// Stopping a channel whose peer is alive but silent. Destroying a channel waits for its background thread, which is
// blocked in the input. Cancel of the library's pipes cannot wake that thread: it waits until the peer writes or closes
// its end. Streams whose Cancel wakes it (Support/AsioStreams) end the wait at once, over sockets and pipes alike.

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
    "Destroys a channel while its peer is silent and prints how long that takes.\n"
    "The other process sends one message and then nothing more, first over a socket,\n"
    "then over a pipe.";
constexpr char kExitStatus[] =
    "Exits with status 0 if both channels ended, with 1 after a failure and with 2 if\n"
    "the command line is wrong.";

constexpr std::array<uint8_t, 5> kMessage = {'h', 'e', 'l', 'l', 'o'};

/// A process that writes one message to `descriptor` and then does nothing. It is killed with this object or process.
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
            ::_exit(SendHello(descriptor));
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

    /// Waits for the process to end and throws the reason.
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
    /// Returns only after a failure: the error number, which becomes the exit status.
    static int SendHello(int descriptor)
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

    /// Returns how the process ended, as often as it is called.
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
    /// The guard's end callback. If the input has failed, its exception is current here.
    void operator()(FrameEnd /*why*/) { m_end.set_value(std::current_exception()); }

    /// Waits for the end and returns whether it came in time. Rethrows the exception if the input has failed.
    bool WaitFor(std::chrono::milliseconds patience)
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

/// Returns whether a message arrives in time and before the input ends.
bool Arrives(const IDataChannel& channel, InputEnd& end, std::chrono::milliseconds patience)
{
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!channel.IsDataAvaliable() && std::chrono::steady_clock::now() < deadline)
    {
        if (end.WaitFor(std::chrono::milliseconds(1)))
        {
            return false;
        }
    }
    return channel.IsDataAvaliable();
}

void GiveUp(const char* kind, const std::array<int, 2>& ends)
{
    const SilentPeer peer(ends[1]);
    InputEnd end;  // destroyed after the channel
    const SP<IByteDataInput> input(new Examples::AsioInput(ends[0]));
    SP<IDataChannel> channel = CommunicationChannel::Create(
        GuardedFrameInput::Create(input, kMessage.size(), std::ref(end)), DataOutputFF::Create(""), true);
    std::array<uint8_t, kMessage.size()> message = {};
    const bool behaves = Arrives(*channel, end, std::chrono::minutes(1)) &&
                         channel->Read(message.data(), message.size()) != 0 && message == kMessage &&
                         !Arrives(*channel, end, std::chrono::milliseconds(200));
    if (end.WaitFor(std::chrono::milliseconds(0)))
    {
        peer.ThrowEnd();
    }
    if (!behaves)
    {
        throw std::runtime_error("the other process does not behave as expected");
    }

    const auto start = std::chrono::steady_clock::now();
    channel.reset();  // which calls the input's Cancel and waits for the thread
    const auto time = std::chrono::steady_clock::now() - start;
    if (!peer.IsAlive())
    {
        throw std::runtime_error("the other process has ended by itself");
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
