// The messages of a channel over sockets, between two programs on one machine or on two.
//
// A channel does not depend on pipes: Support/AsioStreams has the two byte streams that it needs. Anyone who can
// connect can send anything, so a guard is between the channel and its input. In direct mode one thread is enough for
// questions and answers. ReadHeader also returns, with the length 0, when the other side ends.

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <filesystem>
#include <future>
#include <iostream>
#include <istream>
#include <limits>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <vector>

#include <CLI/CLI.hpp>
#include <boost/asio/basic_socket_acceptor.hpp>
#include <boost/asio/generic/stream_protocol.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/local/datagram_protocol.hpp>
#include <boost/asio/local/stream_protocol.hpp>

#include <Support/AsioStreams.h>
#include <Support/FileReader.h>
#include <Support/Program.h>
#include <TarselGuard/GuardedFrameInput.h>
#include <TarselHash/MD5.h>
#include <TarselIO/CommunicationChannel.h>
#include <TarselIO/DataInputFile.h>
#include <TarselIO/IOException.h>
#include <TarselStdStream/InputStreambuf.h>

namespace
{

namespace asio = boost::asio;
using Tarsel::SP;
using namespace Tarsel::Core;
using Tcp = asio::ip::tcp;
using Protocol = asio::generic::stream_protocol;
using Examples::ByteStreams;
using Bytes = std::vector<uint8_t>;

constexpr ioSize kLongestMessage = 1'000'000;

/// How long a client may take to send its first message.
constexpr int kTimeout = 10;

constexpr char kUnix[] = "unix:";
constexpr char kTcp[] = "tcp:";

constexpr char kDescription[] =
    "Sends each line of FILE as a message to ADDRESS, where the same program listens.\n"
    "Without FILE, listens at ADDRESS and answers each message with its MD5 digest.\n"
    "The sender checks every answer.";
constexpr char kExitStatus[] =
    "Lines are at most 999,999 bytes long. Lengths are sent in the machine's byte\n"
    "order, so both machines need the same one; a length in the other order is\n"
    "refused as too long. There is no encryption and no authentication.\n"
    "Exits with status 0 if every answer was right, with 1 after a failure and with 2\n"
    "if the command line is wrong.";

/// The other side of the connection.
class Peer
{
public:
    explicit Peer(const ByteStreams& streams)
        : m_channel(CommunicationChannel::Create(
              GuardedFrameInput::Create(streams.input, kLongestMessage, [this](FrameEnd end) { m_end = end; }),
              streams.output,
              false))
    {
    }

    void Send(const uint8_t* data, ioSize size)
    {
        if (m_channel->Write(data, size) != size)
        {
            throw std::runtime_error("the other side is gone");
        }
    }

    void SendEmptyFrame() { m_channel->Write(nullptr, 0); }

    /// Returns the next message; an empty vector after the other side's empty frame. Every other end is a failure.
    Bytes Receive()
    {
        Bytes message(m_channel->ReadHeader());
        m_channel->Read(message.data(), message.size());
        if (m_end.value_or(FrameEnd::Farewell) != FrameEnd::Farewell)
        {
            throw std::runtime_error(*m_end == FrameEnd::OverLimit     ? "the other side sends too long a message"
                                     : *m_end == FrameEnd::EndOfStream ? "the other side is gone"
                                                                       : "the other side is gone within a message");
        }
        return message;
    }

    /// Like Receive, but returns nothing if no message has arrived in this time. Then no more can be received.
    std::optional<Bytes> ReceiveWithin(std::chrono::seconds timeout)
    {
        std::promise<void> done;
        auto watch = std::async(std::launch::async,
                                [this, timeout, end = done.get_future()]
                                {
                                    const bool isOver = end.wait_for(timeout) == std::future_status::timeout;
                                    if (isOver)
                                    {
                                        m_channel->Cancel();
                                    }
                                    return isOver;
                                });
        std::optional<Bytes> message;
        std::exception_ptr failure;
        try
        {
            message = Receive();
        }
        catch (...)
        {
            failure = std::current_exception();
        }
        done.set_value();
        if (watch.get())
        {
            return std::nullopt;
        }
        if (failure != nullptr)
        {
            std::rethrow_exception(failure);
        }
        return message;
    }

private:
    std::optional<FrameEnd> m_end;
    SP<IDataChannel> m_channel;
};

bool IsPath(const std::string& address)
{
    return address.rfind(kUnix, 0) == 0;
}

/// Returns what follows "unix:".
std::string PathOf(const std::string& address)
{
    return address.substr(std::strlen(kUnix));
}

/// Returns what is wrong with an address, or an empty string. Resolvers take a port modulo 65536, and for an empty path
/// the system chooses a name.
std::string Complaint(const std::string& address)
{
    if (IsPath(address))
    {
        return PathOf(address).empty() ? address + ": has no path" : "";
    }
    const std::size_t colon = address.rfind(':');
    if (address.rfind(kTcp, 0) != 0 || colon < std::strlen(kTcp))
    {
        return address + ": neither unix:PATH nor tcp:HOST:PORT";
    }
    const std::string port = address.substr(colon + 1);
    const bool isPort = !port.empty() && port.size() <= 5 &&
                        port.find_first_not_of("0123456789") == std::string::npos &&
                        std::stoul(port) <= std::numeric_limits<std::uint16_t>::max();
    return isPort ? "" : address + ": the port is not a number from 0 to 65535";
}

Protocol::endpoint Resolve(const std::string& address)
{
    if (IsPath(address))
    {
        return asio::local::stream_protocol::endpoint(PathOf(address));
    }
    const std::size_t colon = address.rfind(':');
    const std::size_t host = std::strlen(kTcp);
    asio::io_context context;
    Tcp::resolver resolver(context);
    return resolver.resolve(address.substr(host, colon - host), address.substr(colon + 1)).begin()->endpoint();
}

ByteStreams Split(Protocol::socket socket)
{
    if (socket.local_endpoint().protocol().family() != AF_UNIX)
    {
        // A message is two writes. The second must not wait for the acknowledgement of the first.
        socket.set_option(Tcp::no_delay(true));
    }
    return Examples::Split(socket.release());
}

ByteStreams Connect(const std::string& address)
{
    asio::io_context context;
    Protocol::socket socket(context);
    socket.connect(Resolve(address));
    return Split(std::move(socket));
}

/// Returns the address at which an acceptor listens, with the port that the system chose.
std::string Describe(const Protocol::endpoint& place)
{
    Tcp::endpoint endpoint;
    std::memcpy(endpoint.data(), place.data(), place.size());
    return "tcp:" + endpoint.address().to_string() + ':' + std::to_string(endpoint.port());
}

/// Returns whether a socket's file is left over from a listener that has ended. It tries to connect a datagram socket,
/// which a running listener does not notice.
bool IsStale(const std::string& path)
{
    struct stat status = {};
    asio::io_context context;
    asio::local::datagram_protocol::socket socket(context);
    boost::system::error_code error;
    socket.connect(path, error);
    return ::lstat(path.c_str(), &status) == 0 && S_ISSOCK(status.st_mode) && error == asio::error::connection_refused;
}

/// If two listeners start in one directory at the same time, the second one must not remove the file of the first.
class DirectoryLock
{
public:
    explicit DirectoryLock(const std::string& directory)
        : m_descriptor(Examples::Checked(::open(directory.empty() ? "." : directory.c_str(), O_RDONLY | O_CLOEXEC)))
    {
        ::flock(m_descriptor, LOCK_EX);  // on a file system without locks, go on without one
    }
    ~DirectoryLock() { ::close(m_descriptor); }
    DirectoryLock(const DirectoryLock&) = delete;
    DirectoryLock& operator=(const DirectoryLock&) = delete;

private:
    const int m_descriptor;
};

/// Accepts clients at an address, one after the other. A socket's file exists for as long as this object.
class Listener
{
public:
    explicit Listener(const std::string& address) : m_acceptor(m_context)
    {
        const Protocol::endpoint place = Resolve(address);
        m_acceptor.open(place.protocol());
        IsPath(address) ? BindPath(PathOf(address), place) : BindPort(place);
        m_acceptor.listen();
    }
    ~Listener() { ::unlink(m_path.c_str()); }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    /// Returns the address for clients.
    std::string Address() const { return m_path.empty() ? Describe(m_acceptor.local_endpoint()) : kUnix + m_path; }

    ByteStreams Accept() { return Split(m_acceptor.accept()); }

private:
    void BindPort(const Protocol::endpoint& place)
    {
        m_acceptor.set_option(asio::socket_base::reuse_address(true));
        m_acceptor.bind(place);
    }

    void BindPath(const std::string& path, const Protocol::endpoint& place)
    {
        const DirectoryLock lock(std::filesystem::path(path).parent_path().string());
        if (IsStale(path))
        {
            ::unlink(path.c_str());
        }
        Examples::Checked(::fchmod(m_acceptor.native_handle(), 0600));  // only this user may connect
        m_acceptor.bind(place);
        m_path = path;
    }

    asio::io_context m_context;
    asio::basic_socket_acceptor<Protocol> m_acceptor;
    std::string m_path;  // empty if there is no file to remove
};

void AnswerMessages(const std::string& address, std::chrono::seconds timeout)
{
    auto listener = std::make_unique<Listener>(address);
    if (!(std::cout << "listening on " << listener->Address() << std::endl))
    {
        throw std::runtime_error("cannot write to standard output");  // clients would not know where to connect
    }
    std::unique_ptr<Peer> peer;
    std::optional<Bytes> message;
    while (!message)  // a client that sends nothing does not block the others
    {
        peer.reset();
        peer = std::make_unique<Peer>(listener->Accept());
        message = peer->ReceiveWithin(timeout);
    }
    listener.reset();

    ioSize messages = 0;
    for (; !message->empty(); message = peer->Receive(), ++messages)
    {
        const MD5Digest digest = MD5Generate(*message, "");
        peer->Send(digest.bytes.data(), digest.bytes.size());
    }
    std::cout << messages << " messages answered\n";
}

/// Reads the next line and returns whether there was one. Throws the system's reason if the file cannot be read.
bool NextLine(std::istream& lines, std::string& line, const std::string& path)
{
    errno = 0;
    try
    {
        std::getline(lines, line);
    }
    catch (const IOException& error)
    {
        error << Tarsel::ErrorDetails(std::strerror(errno));
        throw;
    }
    // At the end of the file, even within a line, a stream does not report that a read has failed.
    if (lines.eof() && errno != 0)
    {
        throw std::system_error(errno, std::generic_category(), path);
    }
    return !lines.fail();
}

void SendLines(const std::string& address, const std::string& path)
{
    Examples::RequireRegularFile(path);
    InputStreambuf buffer(DataInputFile::Create(path));
    std::istream lines(&buffer);
    lines.exceptions(std::ios::badbit);  // a read error must not look like the end of the file

    Peer peer(Connect(address));
    ioSize messages = 0;
    for (std::string line; NextLine(lines, line, path); ++messages)
    {
        line += '\n';  // without it, an empty line would become the empty frame
        const Bytes message(line.begin(), line.end());
        peer.Send(message.data(), message.size());
        const MD5Digest digest = MD5Generate(message, "");
        if (peer.Receive() != Bytes(digest.bytes.begin(), digest.bytes.end()))
        {
            throw std::runtime_error("the answer to line " + std::to_string(messages + 1) + " is wrong");
        }
    }
    peer.SendEmptyFrame();
    std::cout << messages << " messages, every answer was right\n";
}

}  // namespace

// Only a mistake in the description of the command line throws.
int main(int argc, char** argv)  // NOLINT(bugprone-exception-escape)
{
    CLI::App app(kDescription);
    std::string address;
    std::string file;
    int timeout = kTimeout;
    app.add_option("ADDRESS",
                   address,
                   "unix:PATH or tcp:HOST:PORT; port 0 listens at any free port.\nThe listener prints its address")
        ->required()
        ->check(&Complaint);
    const CLI::Option* const sends = app.add_option("FILE", file, "the file to send");
    app.add_option(
           "-t,--timeout", timeout, "how long a client may take to send its first message,\nin seconds (default: 10)")
        ->option_text("SECONDS")
        ->check(CLI::Range(1, 86400));
    app.footer(kExitStatus);
    return Examples::RunProgram(
        app,
        argc,
        argv,
        [&]
        { sends->count() == 0 ? AnswerMessages(address, std::chrono::seconds(timeout)) : SendLines(address, file); });
}
