#include <nanomsg/nn.h>
#include <nanomsg/pair.h>
#include <string>

#include "peers/Peers.h"
#include "rows/MessageMeasures.h"

namespace Bench
{
namespace
{

/// A pair of sockets over "ipc://".
class NanomsgEnd
{
public:
    NanomsgEnd(const Meeting& meeting, Side side) : m_socket(::nn_socket(AF_SP, NN_PAIR))
    {
        const int unlimited = -1;
        ::nn_setsockopt(m_socket, NN_SOL_SOCKET, NN_RCVMAXSIZE, &unlimited, sizeof(unlimited));
        const std::string address = "ipc://" + meeting.Path("nanomsg");
        side == Side::Near ? ::nn_bind(m_socket, address.c_str()) : ::nn_connect(m_socket, address.c_str());
    }
    ~NanomsgEnd() { ::nn_close(m_socket); }
    NanomsgEnd(const NanomsgEnd&) = delete;
    NanomsgEnd& operator=(const NanomsgEnd&) = delete;

    void Send(const uint8_t* data, ioSize size) { ::nn_send(m_socket, data, size, 0); }
    ioSize Receive(uint8_t* data, ioSize size) { return static_cast<ioSize>(::nn_recv(m_socket, data, size, 0)); }
    void Stop() { Send(SampleBytes(), 1); }

private:
    int m_socket;
};

}  // namespace

void AddNanomsgPeers()
{
    AddMessagePeer<NanomsgEnd>("nanomsg");
}

}  // namespace Bench
