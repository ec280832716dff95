#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>

#include <TarselIO/IDataChannel.h>
#include <TarselPointer/RefCountImpl.h>
#include <TarselPointer/SP.h>

namespace boost
{
class thread;
}  // namespace boost

namespace Tarsel::Core
{

/// Joins a byte input and a byte output into a two-way channel of messages, usually over a pair of named pipes between
/// two processes. Each message travels as a frame: 8 bytes of length, unsigned and in the machine's byte order, then
/// that many bytes. An empty frame, whose length is 0, asks the other side to stop reading. A channel has one of two
/// modes:
/// - Threaded: a background thread reads one message at a time, calls the handler with its length and wakes one Read.
///   It reads the next frame once the message has been taken completely, so a slow reader holds the sender back.
/// - Direct: there is no thread. ReadHeader reads a length and Read the bytes, both straight from the input.
///
/// A threaded channel receives nothing more after an empty frame, the end of the input or an exception in the
/// background thread (logged once at ERROR). A pending message can still be read; any further Read waits forever.
///
/// A channel does not limit the length that a peer announces, so the peer has to be trusted.
///
/// If two peers over pipes both destroy their channels first, they wait for each other. One of them first sends an
/// empty frame, `Write(nullptr, 0)`, and keeps its channel until the other has gone.
///
/// A message may arrive before a handler is installed, and the handler is not called for it. So the peer must not send
/// before it knows that the handler is installed.
///
/// Write and ReadHeader take no lock: callers serialise their writes. A thread that is inside Read holds a reference.
class TARSEL_EXPORT CommunicationChannel : public virtual IDataChannel
{
public:
    /// Creates a channel over `input` and `output`, which are not null. The channel holds a reference to each. The
    /// thread of a threaded channel is started before Create returns and may have read a message by then.
    ///
    /// Throws boost::thread_resource_error if the system cannot start a thread, and what allocation throws.
    static SP<IDataChannel> Create(SP<IByteDataInput> input, SP<IByteDataOutput> output, bool threaded);

    /// Use Create instead.
    CommunicationChannel(SP<IByteDataInput> input, SP<IByteDataOutput> output, bool threaded);

    /// Asks the background thread to stop, calls the input's Cancel and waits for the thread. An unread message is
    /// dropped. The thread also stops if the input or the handler catches the boost::thread_interrupted that asks it to
    /// stop. If Cancel throws, the process ends.
    ///
    /// Blocks while the thread is blocked in the input's Read. In a pipe, that Read returns when the peer has written
    /// the bytes that it waits for, or closes its end.
    ///
    /// The destructor must not run on the background thread. If the handler or the input drops the last reference, the
    /// process ends with a FATAL line in the log.
    ~CommunicationChannel() override;  // NOLINT(bugprone-exception-escape): see the source

    // IRefCountable
    int AddRef() const override;
    int GetRefCount() const override;
    int Release() const override;

    // IByteDataInput

    /// Takes bytes of a message. In direct mode this is the input's Read. In threaded mode it takes the next `size`
    /// bytes of the message, at most what remains of it.
    ///
    /// Returns, in threaded mode, how many bytes it took. It returns 0 if the channel is being destroyed, which a
    /// caller that holds a reference never sees.
    ///
    /// Throws boost::thread_interrupted if it has to wait on an interrupted boost::thread. A Read that does not have to
    /// wait cannot be interrupted.
    ///
    /// Blocks, in threaded mode, until there is a message.
    ioSize Read(uint8_t* data, ioSize size) override;

    /// Calls the input's Cancel and does nothing else, through whichever interface it is called. It neither stops the
    /// thread nor wakes a reader.
    void Cancel() override;

    // INotifyingByteDataInput

    /// Installs the handler for messages stored from now on. It is not called for a message that is pending already.
    /// The channel does not own it.
    ///
    /// The handler runs on the background thread with the channel locked:
    /// - It may call Write.
    /// - It must not call Read, IsDataAvaliable or SetDataAvailableHandler of this channel.
    /// - It must not take a mutex that another thread holds while that thread calls any of these. The two threads would
    ///   wait for each other.
    /// - It must not call pthread_exit, which ends the process.
    void SetDataAvailableHandler(IDataAvailableHandler* handler) override;

    /// Returns whether bytes of a message can be read; always false in direct mode. False does not mean that the Read
    /// that took the last bytes has returned.
    ///
    /// Blocks while the handler runs.
    bool IsDataAvaliable() const override;

    // IDataChannel

    /// Reads by one Read of 8 bytes from the input. It is meant for direct mode: in threaded mode it takes bytes away
    /// from the thread.
    ioSize ReadHeader() override;

    // IByteDataOutput

    /// Sends one message by two writes on the output: one of the length, whose result is ignored, and one of the bytes.
    ///
    /// Returns the result of the second write. Throws what the output throws.
    ioSize Write(const uint8_t* data, ioSize size) override;

    /// Runs the background loop. Only the thread that the constructor starts calls it.
    virtual void Thread();

    /// Returns whether a waiting Read goes on: there is a message, or the thread has been asked to stop.
    bool ShouldAwakeReaderPredicate();

    /// Returns whether the waiting background thread goes on: the message has been taken, or the thread has been asked
    /// to stop. It looks for that request in the calling thread, which may run before the constructor has stored it,
    /// and in the destructor's flag.
    bool ShouldAwakeThreadPredicate();

private:
    void WaitForMessage(boost::unique_lock<boost::mutex>& lock);
    void ReceiveMessages();
    void StoreMessage(const std::vector<uint8_t>& message);
    void StopIfRequested();
    void WaitUntilTaken();

    RefCountImpl m_refCount;
    const bool m_threaded;
    std::shared_ptr<boost::thread> m_thread;
    std::vector<uint8_t> m_message;  // guarded by m_mutex
    std::uint64_t m_readPosition;    // guarded by m_mutex
    SP<IByteDataInput> m_input;
    SP<IByteDataOutput> m_output;
    IDataAvailableHandler* m_handler;   // guarded by m_mutex
    std::atomic<bool> m_dataAvailable;  // changed under m_mutex only
    mutable boost::mutex m_mutex;
    boost::condition_variable m_threadCondition;
    boost::condition_variable m_readerCondition;
    std::atomic<bool> m_stopRequested;  // stays set, unlike the thread's own request, which its exception uses up
};

}  // namespace Tarsel::Core
