#include <string>
#include <zmq.h>

#include "peers/Peers.h"
#include "rows/MessageMeasures.h"

namespace Bench
{
namespace
{

/// A pair of sockets over "ipc://". The queue is short, so that the sender keeps the receiver's pace.
class ZeroMqEnd
{
public:
    ZeroMqEnd(const Meeting& meeting, Side side)
        : m_context(::zmq_ctx_new()), m_socket(::zmq_socket(m_context, ZMQ_PAIR))
    {
        const int mostWaiting = 4;
        ::zmq_setsockopt(m_socket, ZMQ_SNDHWM, &mostWaiting, sizeof(mostWaiting));
        ::zmq_setsockopt(m_socket, ZMQ_RCVHWM, &mostWaiting, sizeof(mostWaiting));
        const std::string address = "ipc://" + meeting.Path("zeromq");
        side == Side::Near ? ::zmq_bind(m_socket, address.c_str()) : ::zmq_connect(m_socket, address.c_str());
    }
    ~ZeroMqEnd()
    {
        ::zmq_close(m_socket);
        ::zmq_ctx_term(m_context);
    }
    ZeroMqEnd(const ZeroMqEnd&) = delete;
    ZeroMqEnd& operator=(const ZeroMqEnd&) = delete;

    void Send(const uint8_t* data, ioSize size) { ::zmq_send(m_socket, data, size, 0); }
    ioSize Receive(uint8_t* data, ioSize size) { return static_cast<ioSize>(::zmq_recv(m_socket, data, size, 0)); }
    void Stop() { Send(SampleBytes(), 1); }

private:
    void* m_context;
    void* m_socket;
};

}  // namespace

void AddZeroMqPeers()
{
    AddMessagePeer<ZeroMqEnd>("ZeroMQ");
}

}  // namespace Bench
