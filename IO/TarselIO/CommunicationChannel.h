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
/// a threaded channel receives nothing more: a pending message can still be read, any further Read waits for good.
/// The lengths are believed as they come, so the peer has to be trusted.
///
/// Two peers over pipes that both let go of their channels first would wait for each other. One of them first sends an
/// empty frame, `Write(nullptr, 0)`, and keeps its channel until the other has gone. A message may come before a
/// handler is installed, and is then not announced: the peer starts once it has been told that the handler is there.
///
/// Write and ReadHeader take no lock: callers serialise their writes. Whoever is inside Read holds a reference.
class TARSEL_EXPORT CommunicationChannel : public virtual IDataChannel
{
public:
    /// Makes a channel over `input` and `output`, which are not null and which it holds. The thread of a threaded one
    /// is started before Create returns and may have read a message by then. Throws boost::thread_resource_error when
    /// the system has no thread to give, and what allocation throws.
    static SP<IDataChannel> Create(SP<IByteDataInput> input, SP<IByteDataOutput> output, bool threaded);

    /// Does the work of Create, which callers use.
    CommunicationChannel(SP<IByteDataInput> input, SP<IByteDataOutput> output, bool threaded);

    /// Asks the background thread to stop, calls the input's Cancel and waits for the thread: as long as the input's
    /// Read blocks. The thread also stops if the input or the handler catches the boost::thread_interrupted by which
    /// it is asked. What Cancel throws ends the process. An unread message is dropped. Must not run on the background
    /// thread: neither the handler nor the input may drop the last reference, which ends the process with a FATAL line
    /// in the log.
    ~CommunicationChannel() override;  // NOLINT(bugprone-exception-escape): see the source

    // IRefCountable
    int AddRef() const override;
    int GetRefCount() const override;
    int Release() const override;

    // IByteDataInput

    /// Takes bytes of a message. Direct: the input's Read. Threaded: waits for a message, takes its next `size` bytes,
    /// at most what remains of it, and returns how many. On an interrupted boost::thread the wait throws
    /// boost::thread_interrupted; a Read that does not have to wait cannot be interrupted. It returns 0 if the channel
    /// is being destroyed, which a caller that holds a reference never sees.
    ioSize Read(uint8_t* data, ioSize size) override;

    /// The input's Cancel and nothing else, through whichever interface it is called: it neither stops the thread nor
    /// wakes a reader.
    void Cancel() override;

    // INotifyingByteDataInput

    /// The handler is called for messages stored from now on, not for one that is pending already. It is not owned. It
    /// runs on the background thread with the channel locked: it may call Write, and must not call Read,
    /// IsDataAvaliable or SetDataAvailableHandler of this channel. Nor may it take a mutex that another thread holds
    /// while that one calls any of these: the two would wait for each other. It must not call pthread_exit, which ends
    /// the process.
    void SetDataAvailableHandler(IDataAvailableHandler* handler) override;

    /// Whether bytes of a message can be read; always false in direct mode. Waits while the handler runs. False does
    /// not mean that the Read that took the last bytes has returned.
    bool IsDataAvaliable() const override;

    // IDataChannel

    /// One Read of 8 bytes from the input. For direct mode: in threaded mode it takes bytes away from the thread.
    ioSize ReadHeader() override;

    // IByteDataOutput

    /// Sends one message, by two writes on the output: of the length, whose result is not looked at, and of the bytes,
    /// whose result is returned. What the output throws passes through.
    ioSize Write(const uint8_t* data, ioSize size) override;

    /// The background loop; only the thread that the constructor starts runs it.
    virtual void Thread();

    /// What Read waits for: a message, or the request to stop.
    bool ShouldAwakeReaderPredicate();

    /// What the background thread waits for: that the message has been taken, or the request to stop. Of that it asks
    /// the calling thread, which may run before the constructor has stored it, and the destructor's flag.
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
