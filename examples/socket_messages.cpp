// The messages of a channel over sockets, between two programs of one machine or of two.
//
// Nothing of a channel depends on pipes: Support/AsioStreams has the two byte streams that it takes. Whoever can
// connect can send anything, so a guard stands between the channel and its input. In direct mode one thread is enough
// for a conversation of questions and answers, and the end of the other side is an answer, too: a length of 0.

#include <filesystem>
#include <iostream>
#include <istream>
#include <optional>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <vector>

#include <boost/asio/connect.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/local/stream_protocol.hpp>

#include <Support/AsioStreams.h>
#include <Support/FileReader.h>
#include <Support/Program.h>
#include <TarselGuard/GuardedFrameInput.h>
#include <TarselHash/MD5.h>
#include <TarselIO/CommunicationChannel.h>
#include <TarselIO/DataInputFile.h>
#include <TarselStdStream/InputStreambuf.h>

namespace
{

namespace asio = boost::asio;
using Tarsel::SP;
using namespace Tarsel::Core;
using Tcp = asio::ip::tcp;
using Local = asio::local::stream_protocol;
using Examples::ByteStreams;
using Bytes = std::vector<uint8_t>;

constexpr ioSize kLongestMessage = 1'000'000;

constexpr char kHelp[] =
    "Usage: socket_messages [--verbose] ADDRESS [FILE]\n"
    "\n"
    "Without FILE, listens for a second one, which sends each line of FILE as a message. Each message is answered "
    "with\n"
    "its MD5 digest, and every answer is checked.\n"
    "\n"
    "  ADDRESS        unix:PATH, or tcp:HOST:PORT, where port 0 is any that is free; printed by the one that listens\n"
    "  -v, --verbose  show the log on standard error\n"
    "  -h, --help     show this text and end\n"
    "\n"
    "Lines are at most 999,999 bytes long. Lengths travel in the byte order of the machine, so both have to have the\n"
    "same; a length in the other order is refused as too long. Nothing is encrypted, and nobody is asked who he is.\n"
    "Ends with 0 if every answer was right, with 1 after a failure and with 2 if the command line is wrong.\n";

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

ByteStreams Split(Local::socket socket)
{
    return Examples::Split(socket.release());
}
ByteStreams Split(Tcp::socket socket)
{
    // A message is two writes. The second must not wait until the other side has acknowledged the first.
    socket.set_option(Tcp::no_delay(true));
    return Examples::Split(socket.release());
}

/// The parts of "tcp:HOST:PORT".
Tcp::resolver::results_type Resolve(asio::io_context& context, const std::string& address)
{
    const std::size_t colon = address.rfind(':');
    if (address.rfind("tcp:", 0) != 0 || colon < 4)
    {
        throw std::runtime_error(address + ": neither unix:PATH nor tcp:HOST:PORT");
    }
    return Tcp::resolver(context).resolve(address.substr(4, colon - 4), address.substr(colon + 1));
}

/// The path of "unix:PATH", empty for other addresses.
std::string UnixPath(const std::string& address)
{
    return address.rfind("unix:", 0) == 0 ? address.substr(5) : "";
}

template <class Acceptor>
ByteStreams AcceptOne(Acceptor acceptor, const char* kind)
{
    std::cout << "listening on " << kind << acceptor.local_endpoint() << std::endl;
    return Split(acceptor.accept());
}

ByteStreams Accept(const std::string& address)
{
    asio::io_context context;
    const std::string path = UnixPath(address);
    if (path.empty())
    {
        return AcceptOne(Tcp::acceptor(context, *Resolve(context, address).begin()), "tcp:");
    }
    ::umask(0077);  // nobody but this user shall connect
    ByteStreams streams = AcceptOne(Local::acceptor(context, Local::endpoint(path)), "unix:");
    std::filesystem::remove(path);
    return streams;
}

ByteStreams Connect(const std::string& address)
{
    asio::io_context context;
    const std::string path = UnixPath(address);
    if (path.empty())
    {
        Tcp::socket socket(context);
        asio::connect(socket, Resolve(context, address));
        return Split(std::move(socket));
    }
    Local::socket socket(context);
    socket.connect(path);
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

void SendLines(const std::string& address, const std::string& path)
{
    Examples::RequireRegularFile(path);
    InputStreambuf buffer(DataInputFile::Create(path));
    std::istream lines(&buffer);
    lines.exceptions(std::ios::badbit);  // a file that cannot be read does not pass for one that ends

    Peer peer(Connect(address));
    ioSize messages = 0;
    for (std::string line; std::getline(lines, line); ++messages)
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

void Run(const std::vector<std::string>& operands)
{
    operands.size() == 1 ? AnswerMessages(operands[0]) : SendLines(operands[0], operands[1]);
}

}  // namespace

int main(int argc, char** argv)
{
    return Examples::RunProgram(argc, argv, {kHelp, 1, 2}, &Run);
}
