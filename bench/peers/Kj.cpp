#include <fcntl.h>
#include <kj/io.h>
#include <memory>
#include <optional>
#include <string>
#include <unistd.h>

#include "peers/Peers.h"
#include "rows/StreamMeasures.h"

namespace Bench
{
namespace
{

constexpr char kPeer[] = "kj";

/// kj's streams cannot move back, so a new one replaces the old one.
class MemoryInput
{
public:
    MemoryInput(const uint8_t* data, ioSize size) : m_data(data, size) { SetPosition(0); }
    ioSize Read(uint8_t* data, ioSize size) { return m_stream->tryRead(data, 1, size); }
    void SetPosition(ioSize position) { m_stream.emplace(m_data.slice(position, m_data.size())); }

private:
    kj::ArrayPtr<const kj::byte> m_data;
    std::optional<kj::ArrayInputStream> m_stream;
};

/// Appends to its own memory, which only a new stream can empty.
class MemoryOutput
{
public:
    explicit MemoryOutput(ioSize size) : m_size(size) { SetPosition(0); }
    ioSize Write(const uint8_t* data, ioSize size)
    {
        m_stream->write(data, size);
        return size;
    }
    void SetPosition(ioSize /*position*/) { m_stream.emplace(m_size); }

private:
    ioSize m_size;
    std::optional<kj::VectorOutputStream> m_stream;
};

/// Overwrites a block of memory.
class FixedOutput
{
public:
    explicit FixedOutput(ioSize size) : m_target(kj::heapArray<kj::byte>(size)) { SetPosition(0); }
    ioSize Write(const uint8_t* data, ioSize size)
    {
        m_stream->write(data, size);
        return size;
    }
    void SetPosition(ioSize position) { m_stream.emplace(m_target.slice(position, m_target.size())); }

private:
    kj::Array<kj::byte> m_target;
    std::optional<kj::ArrayOutputStream> m_stream;
};

class FileInput
{
public:
    explicit FileInput(const std::string& path)
        : m_descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC)),
          m_stream(m_descriptor.get()),
          m_buffered(std::in_place, m_stream)
    {
    }
    ioSize Read(uint8_t* data, ioSize size) { return m_buffered->tryRead(data, size, size); }
    void SetPosition(ioSize position)
    {
        ::lseek(m_descriptor.get(), static_cast<off_t>(position), SEEK_SET);
        m_buffered.emplace(m_stream);
    }

private:
    kj::AutoCloseFd m_descriptor;
    kj::FdInputStream m_stream;
    std::optional<kj::BufferedInputStreamWrapper> m_buffered;
};

/// Unbuffered, so that each Write reaches the operating system.
class FileOutput
{
public:
    explicit FileOutput(const std::string& path)
        : m_descriptor(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600)),
          m_stream(m_descriptor.get())
    {
    }
    ioSize Write(const uint8_t* data, ioSize size)
    {
        m_stream.write(data, size);
        return size;
    }
    void SetPosition(ioSize position) { ::lseek(m_descriptor.get(), static_cast<off_t>(position), SEEK_SET); }

private:
    kj::AutoCloseFd m_descriptor;
    kj::FdOutputStream m_stream;
};

}  // namespace

void AddKjPeers()
{
    AddMemoryPeer<MemoryInput>(kPeer);
    AddStringPeer<MemoryOutput>(kStringAppend, kPeer, kRewind);
    AddStringPeer<FixedOutput>(kStringOverwrite, kPeer, kRewind);
    AddFilePeer<FileInput, FileOutput>(kPeer);
    AddWholePeers<MemoryInput, FixedOutput>(kPeer);
    AddPeer(kMakeRow, kPeer, Making([] { return kj::heap<kj::ArrayInputStream>(kj::arrayPtr(SampleBytes(), kKiB)); }));
}

}  // namespace Bench
