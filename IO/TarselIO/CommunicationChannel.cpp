#include <TarselIO/CommunicationChannel.h>

#include <algorithm>
#include <string>
#include <utility>

#include <boost/exception/diagnostic_information.hpp>
#include <boost/thread/thread.hpp>

#include <TarselException/StackDebugInfo.h>
#include <TarselIO/Internal/CopyBytes.h>
#include <TarselIO/Internal/Forwarding.h>
#include <TarselIO/Internal/Logging.h>

namespace Tarsel::Core
{
namespace
{

using Lock = boost::unique_lock<boost::mutex>;

/// Unlocks, then wakes one waiter. In this order the waiter finds the mutex free and does not fall asleep once more.
void UnlockAndNotify(Lock& lock, boost::condition_variable& condition)
{
    lock.unlock();
    condition.notify_one();
}

/// Does so at the end of a scope, even if an exception leaves it.
class UnlockAndNotifyOnExit
{
public:
    UnlockAndNotifyOnExit(Lock& lock, boost::condition_variable& condition) : m_lock(lock), m_condition(condition) {}
    // Unlocking throws only where the lock is not held. NOLINTNEXTLINE(bugprone-exception-escape)
    ~UnlockAndNotifyOnExit() { UnlockAndNotify(m_lock, m_condition); }
    UnlockAndNotifyOnExit(const UnlockAndNotifyOnExit&) = delete;
    UnlockAndNotifyOnExit& operator=(const UnlockAndNotifyOnExit&) = delete;

private:
    Lock& m_lock;
    boost::condition_variable& m_condition;
};

/// Reads the 8 bytes that precede a message by one Read. Bytes that do not arrive count as 0.
ioSize ReadLength(IByteDataInput& input)
{
    ioSize length = 0;
    input.Read(reinterpret_cast<uint8_t*>(&length), sizeof(length));
    return length;
}

/// Returns the text of the exception that is being handled; empty if there is no memory left for it.
std::string DescribeCurrentException() noexcept
{
    try
    {
        return boost::current_exception_diagnostic_information();
    }
    catch (...)  // GCOVR_EXCL_START: whether the description needs more memory than is left depends on Boost
    {
        return {};
    }  // GCOVR_EXCL_STOP
}

}  // namespace

SP<IDataChannel> CommunicationChannel::Create(SP<IByteDataInput> input, SP<IByteDataOutput> output, bool threaded)
{
    return SP<IDataChannel>(new CommunicationChannel(std::move(input), std::move(output), threaded));
}

CommunicationChannel::CommunicationChannel(SP<IByteDataInput> input, SP<IByteDataOutput> output, bool threaded)
    : m_threaded(threaded),
      m_readPosition(0),
      m_input(std::move(input)),
      m_output(std::move(output)),
      m_handler(nullptr),
      m_dataAvailable(false),
      m_stopRequested(false)
{
    if (m_threaded)
    {
        m_thread = std::make_shared<boost::thread>(&CommunicationChannel::Thread, this);
    }
}

// The wait throws only on the thread itself, which is refused earlier. An input whose Cancel throws ends the process.
// NOLINTNEXTLINE(bugprone-exception-escape)
CommunicationChannel::~CommunicationChannel()
{
    if (m_thread == nullptr)
    {
        return;
    }
    if (m_thread->get_id() == boost::this_thread::get_id())
    {
        // GCOVR_EXCL_START: the process that ends here does not count its lines any more
        LOG(FATAL)
            << "A communication channel is destroyed on its own background thread, which cannot wait for itself. "
               "Neither its handler nor its input may drop the last reference to it.";
        // GCOVR_EXCL_STOP
    }
    // An interruption of the calling thread must not cut short Cancel or the wait for the background thread.
    const boost::this_thread::disable_interruption uninterrupted;
    m_thread->interrupt();
    m_stopRequested = true;
    m_input->Cancel();
    // A thread that has not seen the flag holds the mutex until it waits. From then on the wake-up reaches it.
    Lock(m_mutex).unlock();
    m_readerCondition.notify_one();
    m_threadCondition.notify_one();
    m_thread->join();
    m_thread.reset();
}

TARSEL_IMPLEMENT_REFCOUNT(CommunicationChannel, m_refCount);

ioSize CommunicationChannel::Read(uint8_t* data, ioSize size)
{
    if (!m_threaded)
    {
        return m_input->Read(data, size);
    }

    Lock lock(m_mutex);
    WaitForMessage(lock);
    if (!m_dataAvailable)
    {
        // The channel is being destroyed, which wakes only one reader, so this one wakes the next. The channel may no
        // longer exist once this reader has unlocked it.
        m_readerCondition.notify_one();
        return 0;
    }
    const ioSize count = std::min<ioSize>(size, m_message.size() - m_readPosition);
    CopyBytes(data, m_message.data() + m_readPosition, count);
    m_readPosition += count;
    const bool taken = m_readPosition == m_message.size();
    if (taken)
    {
        m_dataAvailable = false;
        m_readPosition = 0;
    }
    // A stored message wakes one reader only. A reader that leaves some of the message wakes the next one.
    UnlockAndNotify(lock, taken ? m_threadCondition : m_readerCondition);
    return count;
}

void CommunicationChannel::WaitForMessage(boost::unique_lock<boost::mutex>& lock)
{
    try
    {
        while (!ShouldAwakeReaderPredicate())
        {
            m_readerCondition.wait(lock);
        }
    }
    catch (...)
    {
        // An interruption of its own thread ends this Read, which may have used up a wake-up.
        m_readerCondition.notify_one();
        throw;
    }
}

void CommunicationChannel::Cancel()
{
    m_input->Cancel();
}

void CommunicationChannel::SetDataAvailableHandler(IDataAvailableHandler* handler)
{
    const Lock lock(m_mutex);
    m_handler = handler;
}

bool CommunicationChannel::IsDataAvaliable() const
{
    const Lock lock(m_mutex);
    return m_dataAvailable;
}

ioSize CommunicationChannel::ReadHeader()
{
    return ReadLength(*m_input);
}

ioSize CommunicationChannel::Write(const uint8_t* data, ioSize size)
{
    m_output->Write(reinterpret_cast<const uint8_t*>(&size), sizeof(size));
    return m_output->Write(data, size);
}

void CommunicationChannel::Thread()
{
    const StackDebugInfo::Descr marker(__FILE__, "Thread");
    try
    {
        ReceiveMessages();
    }
    catch (const boost::thread_interrupted&)
    {
        // This is how the destructor ends the loop.
    }
    catch (...)
    {
        const std::string reason = DescribeCurrentException();
        TARSEL_LOG(ERROR) << "A communication channel stops reading because of an exception. " << reason;
    }
}

void CommunicationChannel::ReceiveMessages()
{
    std::vector<uint8_t> staging;
    for (;;)
    {
        StopIfRequested();
        const ioSize length = ReadLength(*m_input);
        if (length == 0)
        {
            return;
        }
        staging.reserve(length);  // exact: by itself, a vector takes up to twice the longest message
        staging.resize(length);
        m_input->Read(staging.data(), length);
        StopIfRequested();
        StoreMessage(staging);
        StopIfRequested();
        WaitUntilTaken();
        // The interruption point after the wait is the one at the top of the loop.
    }
}

void CommunicationChannel::StoreMessage(const std::vector<uint8_t>& message)
{
    Lock lock(m_mutex);
    m_message = message;  // if there is no memory for that, nothing is pending and no reader is woken
    m_dataAvailable = true;
    const UnlockAndNotifyOnExit wakeReader(lock, m_readerCondition);  // also when the handler throws
    if (m_handler != nullptr)
    {
        m_handler->OnDataAvailable(message.size());
    }
}

void CommunicationChannel::StopIfRequested()
{
    boost::this_thread::interruption_point();
    // The input or the handler may have caught the interruption; the flag stays.
    if (m_stopRequested)
    {
        throw boost::thread_interrupted();
    }
}

void CommunicationChannel::WaitUntilTaken()
{
    Lock lock(m_mutex);
    while (!ShouldAwakeThreadPredicate())
    {
        m_threadCondition.wait(lock);
    }
}

bool CommunicationChannel::ShouldAwakeReaderPredicate()
{
    return m_dataAvailable || m_stopRequested;
}

bool CommunicationChannel::ShouldAwakeThreadPredicate()
{
    return !m_dataAvailable || m_stopRequested || boost::this_thread::interruption_requested();
}

}  // namespace Tarsel::Core
