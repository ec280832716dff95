// Runs the recipes of docs/pipes.md and docs/peers.md on real pipes and processes. Prints a line for each claim that it
// has proved.

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <future>
#include <iostream>
#include <spawn.h>
#include <stdexcept>
#include <string>
#include <sys/file.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>

#include <CLI/CLI.hpp>

#include <Support/Program.h>
#include <TarselGuard/GuardedFrameInput.h>
#include <TarselIO/KitIO.h>

namespace
{

using Tarsel::SP;
using namespace Tarsel::Core;

constexpr char kDescription[] =
    "Runs the recipes for named pipes and unreliable peers on real processes.\n"
    "Prints a line for each claim that it has proved.";
constexpr char kExitStatus[] =
    "Exits with status 0 if every claim is true, with 1 after a failure and with 2 if\n"
    "the command line is wrong.";

constexpr ioSize kLongest = 1000;  // the longest message, in bytes

/// Returns the result of a system call. If that is -1, throws the error in `errno`.
int Check(int result, const std::string& what)
{
    return result != -1 ? result : throw std::system_error(errno, std::generic_category(), what);
}

/// Makes a new directory that only this user can enter (0700) and returns its path.
std::string MakeOwnDirectory()
{
    std::string path = std::filesystem::temp_directory_path() / "pipes.XXXXXX";
    Check(::mkdtemp(path.data()) != nullptr ? 0 : -1, path);
    return path;
}

/// Makes a FIFO that only this user can open. Names are proposals: if one is taken, it asks for another one.
std::string MakeFifo(const std::string& directory, const std::function<std::string()>& proposeName)
{
    std::string path;
    int made = 0;
    do
    {
        path = directory + '/' + std::filesystem::path(proposeName()).filename().string();
        made = ::mkfifo(path.c_str(), 0600);
    } while (made == -1 && errno == EEXIST);
    Check(made, path);
    return path;
}

/// Returns whether `path` itself, not the target of a link, has this type and is open to this user alone.
bool IsOurs(const std::string& path, mode_t type)
{
    struct stat status = {};
    return ::lstat(path.c_str(), &status) == 0 && (status.st_mode & S_IFMT) == type && status.st_uid == ::geteuid() &&
           (status.st_mode & (S_IRWXG | S_IRWXO)) == 0;
}

/// Starts a program with the standard streams, no other descriptor, and the default action for SIGPIPE.
pid_t SpawnClean(char* const* words)
{
    sigset_t restored;
    ::sigemptyset(&restored);
    ::sigaddset(&restored, SIGPIPE);
    posix_spawnattr_t attributes;
    posix_spawn_file_actions_t files;
    int error = std::max({::posix_spawnattr_init(&attributes),
                          ::posix_spawnattr_setsigdefault(&attributes, &restored),
                          ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF),
                          ::posix_spawn_file_actions_init(&files),
                          ::posix_spawn_file_actions_addclosefrom_np(&files, STDERR_FILENO + 1)});
    pid_t child = 0;
    error = error != 0 ? error : ::posix_spawn(&child, words[0], &files, &attributes, words, environ);
    ::posix_spawn_file_actions_destroy(&files);
    ::posix_spawnattr_destroy(&attributes);
    errno = error;
    Check(error == 0 ? 0 : -1, words[0]);
    return child;
}

/// Forks a child that uses nothing that it inherits: it closes all descriptors, destroys no object and never returns.
/// It may do only what a signal handler may, since locks that other threads held stay locked in it.
pid_t ForkClean()
{
    const pid_t child = Check(::fork(), "fork");
    if (child == 0)
    {
        ::closefrom(STDERR_FILENO + 1);
        ::pause();  // in place of the child's own work
        ::_exit(0);
    }
    return child;
}

/// Claims the place of a FIFO's only writer. Returns the descriptor that holds it, or -1 if another process holds it.
int ClaimWriter(const std::string& fifo)
{
    const int lock = Check(::open((fifo + ".writer").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600), fifo);
    return ::flock(lock, LOCK_EX | LOCK_NB) == 0 ? lock : (::close(lock), -1);
}

/// Frees a writer whose peer does not read: empties the FIFO and discards its bytes.
void Drain(const std::string& fifo, const std::future<ioSize>& writer)
{
    const int end = Check(::open(fifo.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC), fifo);
    for (char lost[4096]; writer.wait_for(std::chrono::seconds(0)) != std::future_status::ready;)
    {
        [[maybe_unused]] const ssize_t taken = ::read(end, lost, sizeof(lost));
    }
    ::close(end);
}

/// Ends the reading of a channel whose peer is silent: writes an empty frame to the FIFO that the channel reads.
bool EndReading(const std::string& fifo)
{
    const ioSize empty = 0;
    const int end = Check(::open(fifo.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC), fifo);
    const bool written = ::write(end, &empty, sizeof(empty)) == sizeof(empty);
    ::close(end);
    return written;
}

/// The two FIFOs of one connection. No second sender gets their names: if a sender is killed, the bytes that it leaves
/// in a FIFO would become part of the next sender's messages.
struct Connection
{
    std::string toReceiver;
    std::string toSender;
};

Connection MakeConnection(const std::string& directory)
{
    return {MakeFifo(directory, &GeneratePipeName), MakeFifo(directory, &GeneratePipeName)};
}

/// Waits for the sender, which opens the two FIFOs in the same order.
SP<IDataChannel> Accept(const Connection& connection, bool threaded)
{
    const SP<IByteDataInput> input = DataInputPipe::Create(connection.toReceiver, false);
    const SP<IByteDataOutput> output = DataOutputPipe::Create(connection.toSender, false);
    return CommunicationChannel::Create(GuardedFrameInput::Create(input, kLongest, nullptr), output, threaded);
}

/// Removes the FIFOs; call it after the channel is destroyed.
void Remove(const Connection& connection)
{
    ::unlink(connection.toReceiver.c_str());
    ::unlink(connection.toSender.c_str());
}

/// Stores the length that the handler was last called with. The reader sets it back to 0.
struct Note : IDataAvailableHandler
{
    void OnDataAvailable(ioSize size) override { length = size; }
    std::atomic<ioSize> length{0};
};

/// Installs the handler of a channel whose peer may have sent already. Returns the pending message, or an empty string.
std::string InstallHandler(IDataChannel& channel, Note& note)
{
    channel.SetDataAvailableHandler(&note);
    if (!channel.IsDataAvaliable())
    {
        return {};  // the handler is called for every message from now on
    }
    note.length = 0;  // before Read: the handler may have been called for this very message
    std::string message(kLongest, '\0');
    message.resize(channel.Read(reinterpret_cast<uint8_t*>(message.data()), message.size()));
    return message;
}

// The rest proves that the functions above work, and why they are needed.

/// Ends this process after 4 seconds without progress. A claim that is not true, or a failed call, may make it hang.
void ExpectProgress()
{
    ::alarm(4);
}

void Require(bool proof, const char* claim)
{
    ExpectProgress();
    std::cout << (proof ? claim : throw std::runtime_error(std::string("not true: ") + claim)) << std::endl;
}

/// Both ends of a FIFO. The Create of each waits for the other end.
struct Ends
{
    SP<IByteDataOutput> output;
    SP<IByteDataInput> input;
};

Ends Open(const std::string& fifo)
{
    auto input = std::async(std::launch::async, [&fifo] { return DataInputPipe::Create(fifo, false); });
    return {DataOutputPipe::Create(fifo, false), input.get()};
}

SP<IDataChannel> Listen(const SP<IByteDataInput>& input)
{
    static std::string unused;
    return CommunicationChannel::Create(input, DataOutputString::Create(&unused), true);
}

/// Runs a script by the recipe (`clean`) or without it, and returns its status as `waitpid` reports it.
int RunShell(std::string script, bool clean, std::string argument = "")
{
    std::string shell = "/bin/sh";
    std::string option = "-c";
    char* const words[] = {shell.data(), option.data(), script.data(), shell.data(), argument.data(), nullptr};
    pid_t child = 0;
    int status =
        clean ? (child = SpawnClean(words), 0) : ::posix_spawn(&child, words[0], nullptr, nullptr, words, environ);
    ::waitpid(child, &status, 0);
    return status;
}

void ProveNames(const std::string& directory)
{
    const std::string planted = directory + "/planted";
    uint8_t byte = 0;
    DataOutputFile::Create(planted)->Write(&byte, 1);
    int asked = 0;
    const std::string fifo = MakeFifo(directory, [&] { return ++asked == 1 ? planted : GeneratePipeName(); });
    std::filesystem::create_symlink(fifo, directory + "/link");
    Require(asked == 2 && fifo != planted, "A name that is taken is not used");
    Require(DataInputPipe::Create(planted, false)->Read(&byte, 1) == 1, "A pipe opens any file that has its name");
    Require(!IsOurs(planted, S_IFIFO) && !IsOurs(directory + "/link", S_IFIFO), "The check refuses a file and a link");
    Require(IsOurs(directory, S_IFDIR) && IsOurs(fifo, S_IFIFO), "The check accepts the FIFO and its directory");
}

void ProveChildren(const std::string& fifo)
{
    Ends ends = Open(fifo);
    const std::string dieOfSignal = "kill -PIPE $$";
    const std::string holdNoPipe = "for f in /proc/$$/fd/[3-9] /proc/$$/fd/??*; do [ ! -p $f ] || exit 1; done";
    Require(RunShell(dieOfSignal, false) == 0, "A program started without the recipe ignores SIGPIPE");
    Require(RunShell(holdNoPipe, false) != 0, "It also holds the ends of the pipes");
    Require(WTERMSIG(RunShell(dieOfSignal, true)) == SIGPIPE, "With the recipe, SIGPIPE ends it");
    Require(RunShell(holdNoPipe, true) == 0, "With the recipe, it holds no pipe");
    const pid_t child = ForkClean();
    ends.output = nullptr;
    uint8_t byte = 0;
    Require(ends.input->Read(&byte, 1) == 0 && ::kill(child, SIGKILL) == 0, "A forked child holds no pipe either");
    ::waitpid(child, nullptr, 0);
}

/// Returns the last of `count` messages of 10 bytes, from a sender that is killed after it has sent `bytes`.
std::string LastMessage(const std::string& fifo, const std::string& bytes, int count)
{
    auto sender =
        std::async(std::launch::async, RunShell, "exec >\"$1\"; printf '" + bytes + "'; kill -KILL $$", true, fifo);
    const SP<IDataChannel> channel = Listen(DataInputPipe::Create(fifo, false));
    std::string message(10, '?');
    for (; count != 0; --count)
    {
        channel->Read(reinterpret_cast<uint8_t*>(message.data()), message.size());
    }
    return message;
}

void ProveMessages(const std::string& fifo)
{
    const std::string ten = R"(\012\000\000\000\000\000\000\000)";
    Require(LastMessage(fifo, ten + "abcd", 1) == std::string("abcd\0\0\0\0\0\0", 10), "A cut message ends with zeros");
    Require(LastMessage(fifo, ten + "0123456789" + ten + "abcd", 2) == "abcd456789",
            "Or with bytes of an earlier message");
    const Ends ends = Open(fifo);
    const SP<IDataChannel> channel = Listen(ends.input);  // destroyed at the end, before `ends`
    Require(EndReading(fifo), "A program can send its own channel an empty frame while the peer is silent");
}

void ProveWriters(const std::string& fifo)
{
    Ends ends = Open(fifo);
    const int lock = ClaimWriter(fifo);
    Require(lock != -1 && ClaimWriter(fifo) == -1, "Only one writer can claim the FIFO");
    ::close(lock);
    const SP<IByteDataOutput> second = DataOutputPipe::Create(fifo, false);
    SP<IDataChannel> channel = CommunicationChannel::Create(ends.input, second, false);
    const uint8_t length[8] = {1};
    uint8_t byte = 'x';
    ends.output->Write(length, sizeof(length));
    channel->Write(&byte, 1);
    Require(channel->ReadHeader() == 1 && channel->Read(&byte, 1) == 1 && byte != 'x', "Two writers mix their frames");
    channel = nullptr;  // it holds the input as well
    const std::vector<uint8_t> much(1U << 20U);
    const auto write = [&] { return ends.output->Write(much.data(), much.size()); };
    auto writer = std::async(std::launch::async, write);
    Drain(fifo, writer);
    Require(writer.get() == much.size(), "Draining the FIFO frees a writer whose peer does not read");
    writer = std::async(std::launch::async, write);
    ends.input = nullptr;
    Require(writer.get() == 0, "So does the end of the last reader: Write returns 0, without a signal");
}

/// Waits for what another thread is about to do.
void Await(const std::function<bool()>& condition)
{
    while (!condition())
    {
        std::this_thread::yield();
    }
}

void ProveHandler(const std::string& fifo)
{
    Ends ends = Open(fifo);
    const SP<IDataChannel> channel = Listen(ends.input);
    const auto send = [sender = CommunicationChannel::Create(ends.input, ends.output, false)](const std::string& text)
    { sender->Write(reinterpret_cast<const uint8_t*>(text.data()), text.size()); };
    Note note;
    send("early");
    Await([&] { return channel->IsDataAvaliable(); });
    Require(InstallHandler(*channel, note) == "early", "A message that arrived before the handler is found");
    send("reported");
    Await([&] { return note.length == 8; });
    Require(InstallHandler(*channel, note) == "reported" && note.length == 0,
            "A message that both report is read once");
    Require(InstallHandler(*channel, note).empty(), "If no message has arrived, there is nothing to read");
    send("announced");
    Await([&] { return note.length == 9; });
    Require(note.length == 9, "From then on the handler is called");
    channel->SetDataAvailableHandler(nullptr);
}

/// Returns the frame of a message of 100 bytes, all of which are `mark`.
std::string FrameOf(char mark)
{
    const ioSize size = 100;
    return std::string(reinterpret_cast<const char*>(&size), sizeof(size)) + std::string(size, mark);
}

/// Starts a sender that sends one message and is killed after the first `cutAfter` bytes of another one.
pid_t StartSender(const Connection& connection, char mark, std::size_t cutAfter)
{
    const std::string bytes = FrameOf(mark) + FrameOf(mark).substr(0, cutAfter);
    const pid_t child = Check(::fork(), "fork");
    if (child == 0)
    {
        const int output = ::open(connection.toReceiver.c_str(), O_WRONLY);
        const int input = ::open(connection.toSender.c_str(), O_RDONLY);
        const bool sent = input != -1 && ::write(output, bytes.data(), bytes.size()) != -1;
        ::kill(::getpid(), sent ? SIGKILL : SIGABRT);
    }
    return child;
}

/// Counts the messages that arrived through a direct channel.
struct Received
{
    int whole = 0;
    int mixed = 0;  // with bytes of two senders
};

void Receive(IDataChannel& channel, Received& received)
{
    while (const ioSize size = channel.ReadHeader())
    {
        std::string message(size, '\0');
        channel.Read(reinterpret_cast<uint8_t*>(message.data()), size);
        ++(message == std::string(100, message[0]) ? received.whole : received.mixed);
    }
}

void ProveThatOneFifoMixes(const std::string& directory)
{
    const Connection connection = MakeConnection(directory);
    const pid_t killed = StartSender(connection, 'a', 50);
    const SP<IDataChannel> channel = Accept(connection, false);
    ::waitpid(killed, nullptr, 0);
    ::waitpid(StartSender(connection, 'b', 50), nullptr, 0);
    Received received;
    Receive(*channel, received);
    Remove(connection);
    Require(received.mixed == 1, "A sender that reuses a FIFO completes the message of the one that was killed");
}

/// Each sender starts before the bytes that the last one left are read. Messages are cut at every possible place.
void ProveThatFreshFifosDoNot(const std::string& directory)
{
    constexpr int kSenders = 500;
    Received received;
    int killed = 0;
    Connection lastConnection;
    SP<IDataChannel> last;
    for (int i = 0; i != kSenders; ++i)
    {
        ExpectProgress();
        const Connection connection = MakeConnection(directory);
        const std::size_t cutAfter = 1 + static_cast<std::size_t>(i) % (FrameOf('a').size() - 1);
        const pid_t sender = StartSender(connection, static_cast<char>('a' + i % 26), cutAfter);
        const SP<IDataChannel> channel = Accept(connection, false);
        int status = 0;
        ::waitpid(sender, &status, 0);
        killed += WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL ? 1 : 0;
        if (last != nullptr)
        {
            Receive(*last, received);
            Remove(lastConnection);
        }
        last = channel;
        lastConnection = connection;
    }
    Receive(*last, received);
    Remove(lastConnection);
    Require(killed == kSenders && received.whole == kSenders && received.mixed == 0,
            "500 senders that are killed within a message mix none if each has its own FIFOs");
}

void ProveAll(const std::string& directory)
{
    const std::string fifo = MakeFifo(directory, &GeneratePipeName);
    ProveNames(directory);
    ProveChildren(fifo);
    ProveMessages(fifo);
    ProveWriters(fifo);
    ProveHandler(fifo);
    ProveThatOneFifoMixes(directory);
    ProveThatFreshFifosDoNot(directory);
}

/// The process that runs the proofs, in a process group with all that it starts.
[[noreturn]] void RunProver(const std::string& directory, const sigset_t& mask)
{
    ::setpgid(0, 0);
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    std::signal(SIGALRM, SIG_DFL);
    ::pthread_sigmask(SIG_SETMASK, &mask, nullptr);
    try
    {
        ExpectProgress();
        ProveAll(directory);
        std::cout.flush();
        ::_exit(std::cout ? EXIT_SUCCESS : EXIT_FAILURE);
    }
    catch (...)
    {
        Examples::ReportCurrentException();
        ::_exit(EXIT_FAILURE);
    }
}

/// Runs the proofs in another process, so that nothing is left behind, however they end.
void WatchTheProofs()
{
    sigset_t awaited;
    ::sigemptyset(&awaited);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGCHLD})
    {
        ::sigaddset(&awaited, signal);
    }
    sigset_t mask;
    ::pthread_sigmask(SIG_BLOCK, &awaited, &mask);
    const std::string directory = MakeOwnDirectory();
    const pid_t prover = Check(::fork(), "fork");
    if (prover == 0)
    {
        RunProver(directory, mask);
    }
    ::setpgid(prover, prover);  // both processes do this, since either one may run first

    int signal = SIGCHLD;
    siginfo_t end = {};
    while (signal == SIGCHLD && end.si_pid == 0)
    {
        ::sigwait(&awaited, &signal);
        ::waitid(P_PID, static_cast<id_t>(prover), &end, WEXITED | WNOWAIT | WNOHANG);
    }
    ::kill(-prover, SIGKILL);
    ::waitpid(prover, nullptr, 0);
    std::filesystem::remove_all(directory);
    if (signal != SIGCHLD)
    {
        std::signal(signal, SIG_DFL);
        ::raise(signal);
    }
    ::pthread_sigmask(SIG_SETMASK, &mask, nullptr);  // delivers that signal
    if (end.si_code != CLD_EXITED)
    {
        throw std::runtime_error(end.si_status == SIGALRM
                                     ? "the next claim takes too long: it is not true, or a call has failed"
                                     : std::string("ended by a signal: ") + ::strsignal(end.si_status));
    }
    if (end.si_status != EXIT_SUCCESS)
    {
        std::exit(EXIT_FAILURE);  // the prover has reported why
    }
}
}  // namespace

// Only a mistake in the description of the command line throws.
int main(int argc, char** argv)  // NOLINT(bugprone-exception-escape)
{
    CLI::App app(kDescription);
    app.footer(kExitStatus);
    return Examples::RunProgram(app, argc, argv, &WatchTheProofs);
}
