// The messages of a channel over sockets, between two programs of one machine or of two.
//
// Nothing of a channel depends on pipes: Support/AsioStreams has the two byte streams that it takes. Whoever can
// connect can send anything, so a guard stands between the channel and its input. In direct mode one thread is enough
// for a conversation of questions and answers, and the end of the other side is an answer, too: a length of 0.

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <istream>
#include <optional>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <system_error>
#include <vector>

#include <CLI/CLI.hpp>
#include <boost/asio/basic_socket_acceptor.hpp>
#include <boost/asio/generic/stream_protocol.hpp>
#include <boost/asio/ip/tcp.hpp>
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

constexpr char kDescription[] =
    "Without FILE, listens for a second one, which sends each line of FILE as a\n"
    "message. Each message is answered with its MD5 digest, and every answer is\n"
    "checked.";
constexpr char kExitStatus[] =
    "Lines are at most 999,999 bytes long. Lengths travel in the byte order of the\n"
    "machine, so both have to have the same; a length in the other order is refused\n"
    "as too long. Nothing is encrypted, and nobody is asked who he is.\n"
    "Exits with status 0 if every answer was right, with 1 after a failure and with 2\n"
    "if the command line is wrong.";

/// The other side, as far as it can be seen.
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

    void SayGoodbye() { m_channel->Write(nullptr, 0); }

    /// Returns an empty message once the other side has said goodbye. Every other end is a failure.
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

private:
    std::optional<FrameEnd> m_end;
    SP<IDataChannel> m_channel;
};

Protocol::endpoint Resolve(const std::string& address)
{
    if (address.rfind("unix:", 0) == 0)
    {
        return asio::local::stream_protocol::endpoint(address.substr(5));
    }
    const std::size_t colon = address.rfind(':');
    if (address.rfind("tcp:", 0) != 0 || colon < 4)
    {
        throw std::runtime_error(address + ": neither unix:PATH nor tcp:HOST:PORT");
    }
    asio::io_context context;
    Tcp::resolver resolver(context);
    return resolver.resolve(address.substr(4, colon - 4), address.substr(colon + 1)).begin()->endpoint();
}

ByteStreams Split(Protocol::socket socket)
{
    if (socket.local_endpoint().protocol().family() != AF_UNIX)
    {
        // A message is two writes. The second must not wait until the other side has acknowledged the first.
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

/// Where an acceptor listens, with the port that was chosen for it.
std::string Describe(const Protocol::endpoint& place)
{
    Tcp::endpoint endpoint;
    std::memcpy(endpoint.data(), place.data(), place.size());
    return "tcp:" + endpoint.address().to_string() + ':' + std::to_string(endpoint.port());
}

ByteStreams Accept(const std::string& address)
{
    asio::io_context context;
    ::umask(0077);  // nobody but this user shall connect to a path
    asio::basic_socket_acceptor<Protocol> acceptor(context, Resolve(address));
    const bool hasPath = acceptor.local_endpoint().protocol().family() == AF_UNIX;
    std::cout << "listening on " << (hasPath ? address : Describe(acceptor.local_endpoint())) << std::endl;
    Protocol::socket socket = acceptor.accept();
    std::filesystem::remove(hasPath ? address.substr(5) : "");
    return Split(std::move(socket));
}

void AnswerMessages(const std::string& address)
{
    Peer peer(Accept(address));
    ioSize messages = 0;
    for (Bytes message = peer.Receive(); !message.empty(); message = peer.Receive(), ++messages)
    {
        const MD5Digest digest = MD5Generate(message, "");
        peer.Send(digest.bytes.data(), digest.bytes.size());
    }
    std::cout << messages << " messages answered\n";
}

/// Returns whether there is one more line. Throws when the file cannot be read, with the system's reason.
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
    // At the end of the file a stream does not report that a read has failed.
    return lines || errno == 0 ? !lines.fail() : throw std::system_error(errno, std::generic_category(), path);
}

void SendLines(const std::string& address, const std::string& path)
{
    Examples::RequireRegularFile(path);
    InputStreambuf buffer(DataInputFile::Create(path));
    std::istream lines(&buffer);
    lines.exceptions(std::ios::badbit);  // a file that cannot be read does not pass for one that ends

    Peer peer(Connect(address));
    ioSize messages = 0;
    for (std::string line; NextLine(lines, line, path); ++messages)
    {
        line += '\n';  // also because an empty message is a farewell
        const Bytes message(line.begin(), line.end());
        peer.Send(message.data(), message.size());
        const MD5Digest digest = MD5Generate(message, "");
        if (peer.Receive() != Bytes(digest.bytes.begin(), digest.bytes.end()))
        {
            throw std::runtime_error("the answer to line " + std::to_string(messages + 1) + " is wrong");
        }
    }
    peer.SayGoodbye();
    std::cout << messages << " messages, every answer was right\n";
}

}  // namespace

int main(int argc, char** argv)
{
    CLI::App app(kDescription);
    std::string address;
    std::string file;
    app.add_option("ADDRESS",
                   address,
                   "unix:PATH, or tcp:HOST:PORT, where port 0 is any that is free;\nprinted by the one that listens")
        ->required();
    const CLI::Option* const sends = app.add_option("FILE", file, "the file to send");
    app.footer(kExitStatus);
    return Examples::RunProgram(
        app, argc, argv, [&] { sends->count() == 0 ? AnswerMessages(address) : SendLines(address, file); });
}
