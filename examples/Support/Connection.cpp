#include <Support/Connection.h>

#include <limits>
#include <utility>

#include <TarselIO/CommunicationChannel.h>
#include <TarselIO/DataInputPipe.h>
#include <TarselIO/DataOutputPipe.h>
#include <TarselPointer/RefCounted.h>

namespace Examples
{

using Tarsel::SP;
using namespace Tarsel::Core;

namespace
{

/// A channel does not check how much of a message's length was written. If the length is incomplete, the other side
/// takes the first bytes of the message for a part of it. So this class throws on a short count, and nothing more is
/// sent.
class CheckedOutput : public Tarsel::RefCounted<IByteDataOutput>
{
public:
    explicit CheckedOutput(SP<IByteDataOutput> output) : m_output(std::move(output)) {}

    ioSize Write(const uint8_t* data, ioSize size) override
    {
        return m_output->Write(data, size) == size ? size : throw PeerGone();
    }

private:
    const SP<IByteDataOutput> m_output;
};

/// A channel assumes that each read delivers all that was asked for. If a peer is killed while it writes, the channel
/// fills its message with zero bytes. The guard passes on only whole messages.
SP<IDataChannel> Join(const SP<IByteDataInput>& input, const SP<IByteDataOutput>& output, const EndHandler& onEnd)
{
    constexpr ioSize kNoLimit = std::numeric_limits<ioSize>::max();
    return CommunicationChannel::Create(
        GuardedFrameInput::Create(input, kNoLimit, onEnd), SP<IByteDataOutput>(new CheckedOutput(output)), true);
}

}  // namespace

// A pipe's Create returns when both ends of the pipe are open. So both processes open the same pipe first; in any other
// order each would wait for the other.

SP<IDataChannel> ConnectFirst(const PipeNames& pipes, const EndHandler& onEnd)
{
    const SP<IByteDataOutput> output = DataOutputPipe::Create(pipes.toSecond, false);
    const SP<IByteDataInput> input = DataInputPipe::Create(pipes.toFirst, false);
    return Join(input, output, onEnd);
}

SP<IDataChannel> ConnectSecond(const PipeNames& pipes, const EndHandler& onEnd)
{
    const SP<IByteDataInput> input = DataInputPipe::Create(pipes.toSecond, false);
    const SP<IByteDataOutput> output = DataOutputPipe::Create(pipes.toFirst, false);
    return Join(input, output, onEnd);
}

void Send(IDataChannel& channel, Kind kind)
{
    const auto message = static_cast<uint8_t>(kind);
    channel.Write(&message, sizeof(message));
}

Inbox::Inbox(IDataChannel& channel) : m_channel(channel)
{
    m_channel.SetDataAvailableHandler(this);
}

Inbox::~Inbox()
{
    m_channel.SetDataAvailableHandler(nullptr);
}

void Inbox::SendReady()
{
    const uint8_t ready = 1;
    m_channel.Write(&ready, sizeof(ready));
}

void WaitUntilReady(IDataChannel& channel)
{
    uint8_t ready = 0;
    channel.Read(&ready, sizeof(ready));
}

void Inbox::Receive(std::vector<uint8_t>& message)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_arrival.wait(lock, [this] { return m_announced != 0; });
    message.resize(std::exchange(m_announced, 0));
    lock.unlock();
    m_channel.Read(message.data(), message.size());
}

/// Runs on the channel's thread with the channel locked, so it only stores the size. One variable is enough: the
/// channel does not fetch the next message before this one has been read.
void Inbox::OnDataAvailable(ioSize size)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_announced = size;
    m_arrival.notify_one();
}

}  // namespace Examples
