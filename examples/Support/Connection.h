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

/// Is called on the channel's background thread when nothing more comes from the other process.
using EndHandler = Tarsel::Core::GuardedFrameInput::EndHandler;

/// Opens the pipes and joins them to a channel. Both wait until the other process does the same. The channel's Write
/// throws PeerGone when a message, also an empty one, cannot be sent.
Tarsel::SP<Tarsel::Core::IDataChannel> ConnectFirst(const PipeNames& pipes, const EndHandler& onEnd);
Tarsel::SP<Tarsel::Core::IDataChannel> ConnectSecond(const PipeNames& pipes, const EndHandler& onEnd);

/// The first byte of each message from the first process to the second. It also makes sure that no message is empty:
/// a channel takes an empty one for the other side's farewell.
enum class Kind : uint8_t
{
    Data,  ///< the bytes that follow are part of the file
    End,   ///< that was all of the file
    Keep   ///< what arrived is right
};

/// The other process has closed its pipes, or they have failed.
class PeerGone : public std::runtime_error
{
public:
    PeerGone() : std::runtime_error("the other process is gone") {}
};

/// Sends a message of one byte.
void Send(Tarsel::Core::IDataChannel& channel, Kind kind);

/// Receives the messages of a channel whose lengths are not known beforehand.
///
/// A channel announces only messages that arrive while it has a handler, and its background thread runs before one
/// can be installed. So the receiver makes its inbox first and then calls SayReady, and the sender sends nothing before
/// WaitUntilReady. That itself needs no handler: Read waits for a message of a known length.
class Inbox : private Tarsel::Core::IDataAvailableHandler
{
public:
    explicit Inbox(Tarsel::Core::IDataChannel& channel);
    ~Inbox() override;
    Inbox(const Inbox&) = delete;
    Inbox& operator=(const Inbox&) = delete;

    void SayReady();

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
