// A queue behind the handler of a channel: messages are read from the channel as they arrive and wait in the queue
// until a thread takes them. So a sender has to wait only if the queue is full, and no pending message blocks the
// channel.

#include <array>
#include <condition_variable>
#include <deque>
#include <exception>
#include <future>
#include <iostream>
#include <mutex>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include <Support/AsioStreams.h>
#include <Support/Program.h>
#include <TarselGuard/GuardedFrameInput.h>
#include <TarselIO/CommunicationChannel.h>

namespace
{

using Tarsel::SP;
using namespace Tarsel::Core;
using Message = std::vector<uint8_t>;

constexpr ioSize kLongestMessage = 100'000;
constexpr ioSize kCount = 1000;
constexpr std::size_t kCapacity = 16;

constexpr char kDescription[] =
    "Sends 1000 messages over a socket to a queue behind a channel's handler.\n"
    "The queue holds 16 of them. Checks what it delivers.";
constexpr char kExitStatus[] =
    "Exits with status 0 if all arrived in order, with 1 after a failure and with 2\n"
    "if the command line is wrong.";

/// Three threads share it: the channel's own thread announces messages, a worker reads them, and any other takes them.
class MessageQueue : public IDataAvailableHandler
{
public:
    /// Called with the channel locked: the handler may call Write, but not Read, IsDataAvaliable or
    /// SetDataAvailableHandler, and must not drop the last reference. So it only stores the size. One variable is
    /// enough: the channel does not fetch another message before this one has been read.
    void OnDataAvailable(ioSize size) override
    {
        Change([&] { m_announced = size; });
    }

    /// If the channel's input has failed, its exception is current here.
    void OnEnd(FrameEnd /*why*/)
    {
        Change(
            [&]
            {
                m_failure = std::current_exception();
                m_ended = true;
            });
    }

    /// The worker: reads announced messages while there is room. At the end it stores an empty vector.
    void Work(IDataChannel& channel)
    {
        try
        {
            Fetch(channel);
        }
        catch (...)
        {
            Change([&] { m_broken = true; });
            throw;
        }
    }

    /// Waits for the next message. Any thread may call it. Returns an empty one at the end and if the worker has
    /// failed.
    Message Take()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait(lock, [this] { return m_broken || !m_messages.empty(); });
        if (m_messages.empty())
        {
            return {};
        }
        Message message = std::move(m_messages.front());
        m_messages.pop_front();
        m_changed.notify_all();
        return message;
    }

private:
    void Fetch(IDataChannel& channel)
    {
        Message message;
        do
        {
            message.resize(NextLength());
            if (!message.empty())
            {
                channel.Read(message.data(), message.size());
            }
            Change([&] { m_messages.push_back(message); });
        } while (!message.empty());
    }

    template <class Action>
    void Change(Action action)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        action();
        m_changed.notify_all();
    }

    ioSize NextLength()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait(lock, [this] { return (m_announced != 0 || m_ended) && m_messages.size() < kCapacity; });
        if (m_announced == 0 && m_failure != nullptr)
        {
            std::rethrow_exception(m_failure);
        }
        return std::exchange(m_announced, 0);
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Message> m_messages;  // this and all below guarded by m_mutex
    ioSize m_announced = 0;
    bool m_ended = false;
    std::exception_ptr m_failure;
    bool m_broken = false;
};

/// The messages have all kinds of lengths up to the limit, and each differs from the one before.
Message MakeMessage(ioSize number)
{
    return Message(1 + number * 7919 % kLongestMessage, static_cast<uint8_t>(number));
}

/// The other side, which could be another process. When it returns, the connection is closed.
void SendMessages(int socket)
{
    const Examples::ByteStreams streams = Examples::Split(socket);
    const SP<IDataChannel> channel = CommunicationChannel::Create(streams.input, streams.output, false);
    uint8_t ready = 0;
    bool isThere = channel->ReadHeader() == sizeof(ready) && channel->Read(&ready, sizeof(ready)) != 0;
    for (ioSize number = 0; isThere && number < kCount; ++number)
    {
        const Message message = MakeMessage(number);
        isThere = channel->Write(message.data(), message.size()) == message.size();
    }
    channel->Write(nullptr, 0);  // the empty frame, which ends the other side's reading
}

/// Makes a channel that owns the socket and closes it.
SP<IDataChannel> Connect(int socket, MessageQueue& queue)
{
    const Examples::ByteStreams streams = Examples::Split(socket);
    return CommunicationChannel::Create(
        GuardedFrameInput::Create(streams.input, kLongestMessage, [&queue](FrameEnd why) { queue.OnEnd(why); }),
        streams.output,
        true);
}

void Run()
{
    std::array<int, 2> sockets = {};
    Examples::Checked(::socketpair(AF_UNIX, SOCK_STREAM, 0, sockets.data()));
    auto sender = std::async(std::launch::async, &SendMessages, sockets[0]);

    MessageQueue queue;
    SP<IDataChannel> channel = Connect(sockets[1], queue);
    channel->SetDataAvailableHandler(&queue);
    const uint8_t ready = 1;  // a message that arrives before the handler is installed is not announced
    channel->Write(&ready, sizeof(ready));
    auto worker = std::async(std::launch::async, [&] { queue.Work(*channel); });

    ioSize right = 0;
    ioSize taken = 0;
    for (Message message = queue.Take(); !message.empty(); message = queue.Take())
    {
        right += message == MakeMessage(taken++) ? 1 : 0;
    }
    worker.get();     // rethrows the failure of the worker or of the channel's input
    channel.reset();  // a sender that is still blocked in a write returns
    sender.get();
    if (right != kCount || taken != kCount)
    {
        throw std::runtime_error("of " + std::to_string(taken) + " messages " + std::to_string(right) + " are right");
    }
    std::cout << taken << " messages arrived in order\n";
}

}  // namespace

// Only a mistake in the description of the command line throws.
int main(int argc, char** argv)  // NOLINT(bugprone-exception-escape)
{
    CLI::App app(kDescription);
    app.footer(kExitStatus);
    return Examples::RunProgram(app, argc, argv, &Run);
}
