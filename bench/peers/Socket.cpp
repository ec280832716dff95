#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

#include "peers/Peers.h"
#include "rows/MessageMeasures.h"

namespace Bench
{
namespace
{

constexpr char kPeer[] = "socket";

/// Bytes over a local stream socket.
class SocketEnd
{
public:
    SocketEnd(Meeting& meeting, Side side) : m_socket(meeting.TakeSocket(side)) {}
    ~SocketEnd() { ::close(m_socket); }
    SocketEnd(const SocketEnd&) = delete;
    SocketEnd& operator=(const SocketEnd&) = delete;

    void Send(const uint8_t* data, ioSize size) { ::send(m_socket, data, size, MSG_NOSIGNAL); }
    ioSize Receive(uint8_t* data, ioSize size)
    {
        const ssize_t count = ::recv(m_socket, data, size, MSG_WAITALL);
        return count > 0 ? static_cast<ioSize>(count) : 0;
    }
    void Stop() { ::shutdown(m_socket, SHUT_WR); }

protected:
    int Socket() const { return m_socket; }

private:
    int m_socket;
};

/// The same, with a length before each message.
class FramedSocketEnd : public SocketEnd
{
public:
    using SocketEnd::SocketEnd;

    void Send(const uint8_t* data, ioSize size)
    {
        iovec parts[] = {{&size, sizeof(size)}, {const_cast<uint8_t*>(data), size}};
        ::writev(Socket(), parts, 2);
    }
    ioSize Receive(uint8_t* data, ioSize size)
    {
        ioSize length = 0;
        SocketEnd::Receive(reinterpret_cast<uint8_t*>(&length), sizeof(length));
        return SocketEnd::Receive(data, std::min(length, size));
    }
};

}  // namespace

void AddSocketPeers()
{
    for (const ioSize size : kPipeSizes)
    {
        AddPeer(NameWithSize(kPipeTwoProcesses, size),
                kPeer,
                [=](benchmark::State& state) { MeasureOneWay<SocketEnd>(state, size); });
    }
    AddMessagePeer<FramedSocketEnd>(kPeer);
}

}  // namespace Bench
