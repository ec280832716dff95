#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include <TarselGuard/GuardedFrameInput.h>
#include <TarselIO/IDataAvailableHandler.h>
#include <TarselIO/IDataChannel.h>
#include <TarselPointer/SP.h>

namespace Examples
{

/// The two named pipes between the processes, one for each direction.
struct PipeNames
{
    std::string toSecond;
    std::string toFirst;
};

/// Called on the channel's background thread when no more messages come from the other process.
using EndHandler = Tarsel::Core::GuardedFrameInput::EndHandler;

/// Open the pipes and make a channel of them. Both block until the other process does the same. The channel's Write
/// throws PeerGone if a message or an empty frame cannot be sent.
Tarsel::SP<Tarsel::Core::IDataChannel> ConnectFirst(const PipeNames& pipes, const EndHandler& onEnd);
Tarsel::SP<Tarsel::Core::IDataChannel> ConnectSecond(const PipeNames& pipes, const EndHandler& onEnd);

/// The first byte of each message from the first process to the second. So no message is empty: an empty frame ends the
/// channel.
enum class Kind : uint8_t
{
    Data,  ///< the bytes that follow are part of the file
    End,   ///< the file is complete
    Keep   ///< the digests agree: keep the file
};

/// The other process has closed its pipes, or they have failed.
class PeerGone : public std::runtime_error
{
public:
    PeerGone() : std::runtime_error("the other process is gone") {}
};

/// Sends a message of one byte.
void Send(Tarsel::Core::IDataChannel& channel, Kind kind);

/// Receives a channel's messages when their lengths are not known in advance.
///
/// A channel announces only messages that arrive while it has a handler, and its background thread runs before you can
/// install one. So the receiver makes its inbox first and then calls SendReady, and the sender calls WaitUntilReady
/// before it sends anything. WaitUntilReady needs no handler: it knows the length of the message that it reads.
class Inbox : private Tarsel::Core::IDataAvailableHandler
{
public:
    explicit Inbox(Tarsel::Core::IDataChannel& channel);
    ~Inbox() override;
    Inbox(const Inbox&) = delete;
    Inbox& operator=(const Inbox&) = delete;

    void SendReady();

    /// Waits for the next message and puts it into `message`.
    void Receive(std::vector<uint8_t>& message);

private:
    void OnDataAvailable(Tarsel::Core::ioSize size) override;

    Tarsel::Core::IDataChannel& m_channel;
    std::mutex m_mutex;
    std::condition_variable m_arrival;
    Tarsel::Core::ioSize m_announced = 0;  // guarded by m_mutex
};

void WaitUntilReady(Tarsel::Core::IDataChannel& channel);

}  // namespace Examples
