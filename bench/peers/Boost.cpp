#include <boost/interprocess/ipc/message_queue.hpp>
#include <boost/iostreams/device/array.hpp>
#include <boost/iostreams/device/back_inserter.hpp>
#include <boost/iostreams/device/file.hpp>
#include <boost/iostreams/stream.hpp>
#include <boost/make_shared.hpp>
#include <memory>
#include <string>

#include "peers/Peers.h"
#include "rows/MessageMeasures.h"
#include "rows/StreamMeasures.h"

namespace Bench
{
namespace
{

namespace io = boost::iostreams;

constexpr char kPeer[] = "Boost";

class MemoryInput : public IoStreamInput<io::stream<io::array_source>>
{
public:
    MemoryInput(const uint8_t* data, ioSize size) : IoStreamInput(AsChars(data), size) {}
};

/// Appends to a string, which only its owner can empty.
class StringAppender
{
public:
    explicit StringAppender(ioSize size) : m_target(size, '\0'), m_stream(m_target) {}

    ioSize Write(const uint8_t* data, ioSize size)
    {
        m_stream.write(AsChars(data), static_cast<std::streamsize>(size));
        return size;
    }

    void Clear()
    {
        m_stream.flush();
        m_target.clear();
    }

private:
    std::string m_target;
    io::stream<io::back_insert_device<std::string>> m_stream;
};

using MemoryOutput = BlockOutput<io::stream<io::array_sink>>;

class FileInput : public IoStreamInput<io::stream<io::file_source>>
{
public:
    explicit FileInput(const std::string& path) : IoStreamInput(path, std::ios::binary) {}
};

class FileOutput : public IoStreamOutput<io::stream<io::file_sink>, true>
{
public:
    explicit FileOutput(const std::string& path) : IoStreamOutput(path, std::ios::binary) {}
};

/// A pair of Boost.Interprocess message queues, each with room for a few messages of up to a MiB.
class QueueEnd
{
public:
    QueueEnd(const Meeting& meeting, Side side) : m_names{Name(meeting, "there"), Name(meeting, "back")}
    {
        const bool isNear = side == Side::Near;
        m_output = Open(m_names[isNear ? 0 : 1]);
        m_input = Open(m_names[isNear ? 1 : 0]);
    }
    ~QueueEnd()
    {
        for (const std::string& name : m_names)
        {
            Queue::remove(name.c_str());
        }
    }
    QueueEnd(const QueueEnd&) = delete;
    QueueEnd& operator=(const QueueEnd&) = delete;

    void Send(const uint8_t* data, ioSize size) { m_output->send(data, size, 0); }

    ioSize Receive(uint8_t* data, ioSize size)
    {
        // The queue requires room for the largest message.
        Queue::size_type received = 0;
        unsigned priority = 0;
        m_input->receive(m_buffer.data(), m_buffer.size(), received, priority);
        std::copy_n(m_buffer.data(), std::min<ioSize>(received, size), data);
        return received;
    }

    void Stop() { Send(SampleBytes(), 1); }

private:
    using Queue = boost::interprocess::message_queue;

    static std::string Name(const Meeting& meeting, const std::string& direction)
    {
        std::string name = meeting.Path(direction);
        std::replace(name.begin(), name.end(), '/', '-');
        return name;
    }
    static std::unique_ptr<Queue> Open(const std::string& name)
    {
        return std::make_unique<Queue>(boost::interprocess::open_or_create, name.c_str(), 4, kMiB);
    }

    std::string m_names[2];
    std::unique_ptr<Queue> m_input;
    std::unique_ptr<Queue> m_output;
    std::vector<uint8_t> m_buffer = std::vector<uint8_t>(kMiB);
};

}  // namespace

void AddBoostPeers()
{
    AddMemoryPeer<MemoryInput>(kPeer);
    AddStringPeer<StringAppender>(kStringAppend, kPeer, [](const auto& stream) { stream->Clear(); });
    AddStringPeer<MemoryOutput>(kStringOverwrite, kPeer, kRewind);
    AddFilePeer<FileInput, FileOutput>(kPeer);
    AddWholePeers<MemoryInput, MemoryOutput>(kPeer);
    AddPeer(kMakeRow, kPeer, Making([] { return std::make_unique<MemoryInput>(SampleBytes(), kKiB); }));
    AddPeer(kCopyRow, kPeer, Copying([] { return boost::make_shared<int>(0); }));
    AddMessagePeer<QueueEnd>(kPeer);
}

}  // namespace Bench
