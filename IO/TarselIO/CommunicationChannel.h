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
/// that many bytes. A frame of length 0 tells the other side to stop reading.
///
/// - Threaded: a background thread reads one message at a time, tells the handler its length and wakes one Read. It
///   reads the next frame once the message has been taken completely, so a slow reader holds the sender back.
/// - Direct: no thread; ReadHeader reads a length, Read the bytes, both straight from the input.
///
/// After a frame of length 0, the end of the input or an exception in the background thread (logged once at ERROR),
/// a threaded channel receives nothing more: a pending message can still be read, any further Read waits until the
/// channel is destroyed. The lengths are believed as they come, so the peer has to be trusted.
///
/// Write and ReadHeader take no lock: callers serialise their writes. Whoever is inside Read holds a reference.
class TARSEL_EXPORT CommunicationChannel : public virtual IDataChannel
{
public:
    /// Makes a channel over `input` and `output`, which are not null and which it holds. A threaded one starts reading
    /// before Create returns. Throws boost::thread_resource_error when the system has no thread to give.
    static SP<IDataChannel> Create(SP<IByteDataInput> input, SP<IByteDataOutput> output, bool threaded);

    CommunicationChannel(SP<IByteDataInput> input, SP<IByteDataOutput> output, bool threaded);

    /// Asks the background thread to stop, calls the input's Cancel and waits for the thread: as long as the input's
    /// Read blocks. An unread message is dropped. Must not run on the background thread, which means that a
    /// handler must not drop the last reference: that ends the process with a FATAL line in the log.
    ~CommunicationChannel() override;  // NOLINT(bugprone-exception-escape): see the source

    // IRefCountable
    int AddRef() const override;
    int GetRefCount() const override;
    int Release() const override;

    // IByteDataInput

    /// Direct: the input's Read. Threaded: waits for a message, takes its next `size` bytes, at most what remains of
    /// it, and returns how many; 0 when the channel is destroyed meanwhile. On an interrupted boost::thread the wait
    /// throws boost::thread_interrupted.
    ioSize Read(uint8_t* data, ioSize size) override;

    /// The input's Cancel and nothing else, through whichever interface it is called.
    void Cancel() override;

    // INotifyingByteDataInput

    /// The handler hears of messages stored from now on, not of one that is pending already. It is not owned. It runs
    /// on the background thread with the channel locked: it may call Write, and must not call Read, IsDataAvaliable or
    /// SetDataAvailableHandler of this channel.
    void SetDataAvailableHandler(IDataAvailableHandler* handler) override;

    bool IsDataAvaliable() const override;  ///< always false in direct mode

    // IDataChannel

    /// One Read of 8 bytes from the input. For direct mode: in threaded mode it takes bytes away from the thread.
    ioSize ReadHeader() override;

    // IByteDataOutput

    /// Sends one message, by two writes on the output, and returns the second's result.
    ioSize Write(const uint8_t* data, ioSize size) override;

    /// The background loop; only the thread that the constructor starts runs it.
    virtual void Thread();

    /// What Read waits for: a message, or the request to stop.
    bool ShouldAwakeReaderPredicate();

    /// What the background thread waits for: that the message has been taken, or the request to stop. Asks for the
    /// calling thread's stop request, since that thread may run before the constructor has stored it.
    bool ShouldAwakeThreadPredicate();

private:
    void WaitForMessage(boost::unique_lock<boost::mutex>& lock);
    void ReceiveMessages();
    void StoreMessage(const std::vector<uint8_t>& message);
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
};

}  // namespace Tarsel::Core
