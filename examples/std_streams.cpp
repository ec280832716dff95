// std_streams: numbers the lines of standard input, as a filter in a pipeline of the shell.
//
// It reads through DataStdInput and writes through DataStdOutput. Nothing supplies these endpoints with the process's
// own handles yet, so each one gets a pipe that is opened on /dev/stdin or /dev/stdout. That opens again what the shell
// has connected there. For a pipe or a terminal it makes no difference, but a file starts again at its first byte.

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <memory>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include <CLI/CLI.hpp>

#include <Support/LogWatch.h>
#include <Support/Program.h>
#include <TarselIO/KitIO.h>

namespace
{

using Tarsel::SP;
using namespace Tarsel::Core;

constexpr std::size_t kBufferSize = 65536;

constexpr char kDescription[] = "Copies standard input to standard output and numbers the lines, like cat -n.";
constexpr char kExitStatus[] =
    "Exits with status 0 at the end of the input, with 1 after a failure, with 2 if\n"
    "the command line is wrong, and by SIGPIPE if nothing reads the output any more.";

/// Returns what is connected to a standard stream. A closed one must be found before anything is opened: the next file
/// to be opened gets its number, and "/dev/stdout" could turn out to be the input.
struct stat Examine(int descriptor, const std::string& name)
{
    struct stat status
    {
    };
    if (::fstat(descriptor, &status) != 0)
    {
        throw std::runtime_error(name + " is closed");
    }
    if (S_ISSOCK(status.st_mode))
    {
        throw std::runtime_error(name + " is a socket, which cannot be opened again");
    }
    return status;
}

/// Refuses files whose position would be lost by opening them again: input that has been read in part, and output that
/// is not empty, as in "std_streams >> file".
void CheckPlace(const struct stat& input, const struct stat& output)
{
    if (S_ISREG(input.st_mode) && ::lseek(STDIN_FILENO, 0, SEEK_CUR) != 0)
    {
        throw std::runtime_error("standard input is a file that is not at its start; use: cat | std_streams");
    }
    if (S_ISREG(output.st_mode) && output.st_size != 0)
    {
        throw std::runtime_error("standard output is a file that is not empty; use: std_streams | cat >> FILE");
    }
}

/// Holds both ends of a named pipe. Opening one end blocks until another process opens the other end. That process may
/// have ended already, with its data still in the pipe; then this program would wait forever.
class BothEnds
{
public:
    BothEnds(const char* path, const struct stat& status)
        : m_descriptor(S_ISFIFO(status.st_mode) ? ::open(path, O_RDWR | O_NONBLOCK | O_CLOEXEC) : -1)
    {
    }
    BothEnds(const BothEnds&) = delete;
    BothEnds& operator=(const BothEnds&) = delete;
    ~BothEnds()
    {
        if (m_descriptor != -1)
        {
            ::close(m_descriptor);
        }
    }

private:
    int m_descriptor;
};

/// The Raw protocol returns how much a transfer has moved even if the transfer ends early. With the Default protocol
/// the last part of a file would be lost.
SP<IByteDataInput> OpenInput(const struct stat& status)
{
    const BothEnds bothEnds("/dev/stdin", status);
    const SP<DataStdInput> input(new DataStdInput);
    input->SetInputPipe(DataInputPipe::Create("/dev/stdin", std::make_unique<ByteDataInputRawProtocol>(), false));
    return input;
}

SP<IByteDataOutput> OpenOutput(const struct stat& status)
{
    const BothEnds bothEnds("/dev/stdout", status);
    const SP<DataStdOutput> output(new DataStdOutput);
    output->SetOutputPipe(DataOutputPipe::Create("/dev/stdout", std::make_unique<ByteDataOutputRawProtocol>(), false));
    return output;
}

/// Returns how many more bytes can be read without waiting. Reading a file never waits.
ioSize BytesWaiting(const struct stat& status)
{
    if (S_ISREG(status.st_mode))
    {
        return kBufferSize;
    }
    int waiting = 0;
    return ::ioctl(STDIN_FILENO, FIONREAD, &waiting) == 0 && waiting > 0 ? static_cast<ioSize>(waiting) : 0;
}

/// Waits for a byte and also reads what has arrived with it. Returns 0 at the end of the data.
///
/// With the Raw protocol, too, a pipe of the library reads until it has all that was asked for. If the program asked
/// for a whole buffer, a typed line would not appear before many more are there. Single bytes would be slow.
ioSize ReadSome(IByteDataInput& input,
                const struct stat& status,
                std::vector<std::uint8_t>& buffer,
                const Examples::LogWatch& log)
{
    ioSize count = input.Read(buffer.data(), 1);
    if (count != 0)
    {
        count += input.Read(buffer.data() + 1, std::min<ioSize>(BytesWaiting(status), buffer.size() - 1));
    }
    if (const std::string error = log.LastError(); !error.empty())
    {
        throw std::runtime_error("standard input: " + error);
    }
    return count;
}

/// Numbers the lines of a text that comes in pieces.
class LineNumbers
{
public:
    std::string Number(std::string_view piece)
    {
        std::string numbered;
        for (const char character : piece)
        {
            if (m_atLineStart)
            {
                const std::string digits = std::to_string(m_next++);
                numbered.append(kWidth - std::min(kWidth, digits.size()), ' ').append(digits) += '\t';
            }
            numbered += character;
            m_atLineStart = character == '\n';
        }
        return numbered;
    }

private:
    static constexpr std::size_t kWidth = 6;

    std::uint64_t m_next = 1;
    bool m_atLineStart = true;
};

/// Returns whether the reader of standard output has gone: poll then reports an error for a pipe.
bool ReaderHasGone()
{
    pollfd output{STDOUT_FILENO, POLLOUT, 0};
    return ::poll(&output, 1, 0) == 1 && (output.revents & POLLERR) != 0;
}

void WriteAll(IByteDataOutput& output, const std::string& text, const Examples::LogWatch& log)
{
    if (output.Write(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()) == text.size())
    {
        return;
    }
    if (ReaderHasGone())
    {
        // Filters end like this, without a message. The library set the signal to ignored when it opened the pipes.
        std::signal(SIGPIPE, SIG_DFL);
        std::raise(SIGPIPE);
    }
    throw std::runtime_error("standard output: " + log.LastError());
}

void NumberLines()
{
    const struct stat inputStatus = Examine(STDIN_FILENO, "standard input");
    const struct stat outputStatus = Examine(STDOUT_FILENO, "standard output");
    CheckPlace(inputStatus, outputStatus);
    const Examples::LogWatch log;
    const SP<IByteDataInput> input = OpenInput(inputStatus);
    const SP<IByteDataOutput> output = OpenOutput(outputStatus);

    LineNumbers lines;
    std::vector<std::uint8_t> buffer(kBufferSize);
    while (const ioSize count = ReadSome(*input, inputStatus, buffer, log))
    {
        WriteAll(*output, lines.Number(std::string_view(reinterpret_cast<const char*>(buffer.data()), count)), log);
    }
    // In a group of commands, "(std_streams; date) > FILE", the next one continues where this program has stopped.
    ::lseek(STDIN_FILENO, 0, SEEK_END);
    ::lseek(STDOUT_FILENO, 0, SEEK_END);
}

}  // namespace

// Only a mistake in the description of the command line throws.
int main(int argc, char** argv)  // NOLINT(bugprone-exception-escape)
{
    CLI::App app(kDescription);
    app.footer(kExitStatus);
    return Examples::RunProgram(app, argc, argv, &NumberLines);
}
