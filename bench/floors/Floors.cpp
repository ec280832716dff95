#include "floors/Floors.h"

#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include <glog/logging.h>

namespace Bench
{
namespace
{

/// Callers that move single bytes would spend most of their time on the call of memcpy.
void Copy(uint8_t* to, const uint8_t* from, ioSize count)
{
    if (count == 1)
    {
        *to = *from;
    }
    else
    {
        std::memcpy(to, from, count);
    }
}

class MemoryInput : public FloorInput
{
public:
    MemoryInput(const uint8_t* data, ioSize size) : m_data(data), m_size(size) {}

    ioSize Read(uint8_t* data, ioSize size) override
    {
        const ioSize count = std::min(size, m_size - m_position);
        Copy(data, m_data + m_position, count);
        m_position += count;
        return count;
    }
    void SetPosition(ioSize position) override { m_position = position; }

private:
    const uint8_t* m_data;
    ioSize m_size;
    ioSize m_position = 0;
};

class StringOutput : public FloorOutput
{
public:
    explicit StringOutput(std::string* target) : m_target(target) {}

    ioSize Write(const uint8_t* data, ioSize size) override
    {
        const ioSize inside = std::min<ioSize>(size, m_target->size() - m_position);
        if (inside != 0)
        {
            Copy(reinterpret_cast<uint8_t*>(m_target->data()) + m_position, data, inside);
        }
        if (inside != size)
        {
            m_target->append(reinterpret_cast<const char*>(data) + inside, size - inside);
        }
        m_position += size;
        return size;
    }
    void SetPosition(ioSize position) override { m_position = position; }

private:
    std::string* m_target;
    ioSize m_position = 0;
};

/// A FILE, and what the two file floors share.
template <class Base>
class FileStream : public Base
{
public:
    FileStream(const std::string& path, const char* mode) : m_file(std::fopen(path.c_str(), mode)) { Check(m_file); }
    ~FileStream() override { std::fclose(m_file); }
    FileStream(const FileStream&) = delete;
    FileStream& operator=(const FileStream&) = delete;

    void SetPosition(ioSize position) override { std::fseek(m_file, static_cast<long>(position), SEEK_SET); }

protected:
    std::FILE* File() const { return m_file; }

private:
    static void Check(const std::FILE* file)
    {
        if (file == nullptr)
        {
            throw std::runtime_error("cannot open a file");
        }
    }

    std::FILE* m_file;
};

class FileInput : public FileStream<FloorInput>
{
public:
    explicit FileInput(const std::string& path) : FileStream(path, "rb") {}
    ioSize Read(uint8_t* data, ioSize size) override { return std::fread(data, 1, size, File()); }
};

class FileOutput : public FileStream<FloorOutput>
{
public:
    explicit FileOutput(const std::string& path) : FileStream(path, "wb") {}

    ioSize Write(const uint8_t* data, ioSize size) override
    {
        const ioSize written = std::fwrite(data, 1, size, File());
        return std::fflush(File()) == 0 ? written : 0;
    }
};

/// Owns a pipe's descriptor and moves data in pieces. With `Logs`, each piece logs two lines, as the library's pipes
/// do: the least that the same log can cost.
template <class Base, bool Logs>
class PipeEnd : public Base
{
public:
    PipeEnd(const std::string& path, int mode) : m_descriptor(::open(path.c_str(), mode)) {}
    ~PipeEnd() override { ::close(m_descriptor); }
    PipeEnd(const PipeEnd&) = delete;
    PipeEnd& operator=(const PipeEnd&) = delete;

protected:
    /// Returns how many of `size` bytes `call`, which is read or write, moved until it failed.
    template <class Call, class Byte>
    ioSize Move(Call call, Byte* data, ioSize size)
    {
        ioSize done = 0;
        while (done != size)
        {
            const ioSize piece = std::min(size - done, kKiB);
            LOG_IF(INFO, Logs) << "Trying to move " << piece << " bytes through the pipe";
            const ssize_t count = call(m_descriptor, data + done, piece);
            if (count <= 0)
            {
                break;
            }
            LOG_IF(INFO, Logs) << count << " bytes have been moved";
            done += static_cast<ioSize>(count);
        }
        return done;
    }

private:
    int m_descriptor;
};

template <bool Logs>
class PipeInput : public PipeEnd<FloorInput, Logs>
{
public:
    explicit PipeInput(const std::string& path) : PipeEnd<FloorInput, Logs>(path, O_RDONLY) {}
    ioSize Read(uint8_t* data, ioSize size) override { return this->Move(::read, data, size); }
};

template <bool Logs>
class PipeOutput : public PipeEnd<FloorOutput, Logs>
{
public:
    explicit PipeOutput(const std::string& path) : PipeEnd<FloorOutput, Logs>(path, O_WRONLY) {}
    ioSize Write(const uint8_t* data, ioSize size) override { return this->Move(::write, data, size); }
};

/// The frames of both channels: 8 bytes of length, then the message.
template <class Input, class Output>
class FramedChannel : public FloorChannel
{
public:
    FramedChannel(const Input& input, const Output& output) : m_input(input), m_output(output) {}

    ioSize ReadHeader() override
    {
        ioSize length = 0;
        m_input->Read(reinterpret_cast<uint8_t*>(&length), sizeof(length));
        return length;
    }
    ioSize Read(uint8_t* data, ioSize size) override { return m_input->Read(data, size); }
    ioSize Write(const uint8_t* data, ioSize size) override
    {
        m_output->Write(reinterpret_cast<const uint8_t*>(&size), sizeof(size));
        return m_output->Write(data, size);
    }

private:
    Input m_input;
    Output m_output;
};

using DirectChannel =
    FramedChannel<Tarsel::SP<Tarsel::Core::IByteDataInput>, Tarsel::SP<Tarsel::Core::IByteDataOutput>>;
using PipeChannel = FramedChannel<FloorInputPtr, FloorOutputPtr>;

class ThreadedChannel : public PipeChannel
{
public:
    ThreadedChannel(const FloorInputPtr& input, const FloorOutputPtr& output)
        : PipeChannel(input, output), m_thread([this] { Receive(); })
    {
    }
    ~ThreadedChannel() override { m_thread.join(); }
    ThreadedChannel(const ThreadedChannel&) = delete;
    ThreadedChannel& operator=(const ThreadedChannel&) = delete;

    ioSize Read(uint8_t* data, ioSize size) override
    {
        std::unique_lock lock(m_mutex);
        m_arrived.wait(lock, [this] { return m_isPending; });
        const ioSize count = std::min<ioSize>(size, m_message.size() - m_position);
        std::memcpy(data, m_message.data() + m_position, count);
        m_position += count;
        if (m_position == m_message.size())
        {
            m_isPending = false;
            m_position = 0;
            lock.unlock();
            m_taken.notify_one();
        }
        return count;
    }

private:
    void Receive()
    {
        std::vector<uint8_t> message;
        while (const ioSize length = ReadHeader())
        {
            message.resize(length);
            PipeChannel::Read(message.data(), length);
            std::unique_lock lock(m_mutex);
            m_message = message;
            m_isPending = true;
            lock.unlock();
            m_arrived.notify_one();
            lock.lock();
            m_taken.wait(lock, [this] { return !m_isPending; });
        }
    }

    std::mutex m_mutex;
    std::condition_variable m_arrived;
    std::condition_variable m_taken;
    std::vector<uint8_t> m_message;  // guarded by m_mutex
    ioSize m_position = 0;           // guarded by m_mutex
    bool m_isPending = false;        // guarded by m_mutex
    std::thread m_thread;            // last: it uses the other fields as soon as it starts
};

}  // namespace

FloorObject::FloorObject() = default;
FloorObject::~FloorObject() = default;

void FloorObject::AddRef()
{
    m_count.fetch_add(1, std::memory_order_relaxed);
}

void FloorObject::Release()
{
    if (m_count.fetch_sub(1, std::memory_order_acq_rel) == 1)
    {
        delete this;
    }
}

void FloorInput::SetPosition(ioSize /*position*/)
{
}

void FloorOutput::SetPosition(ioSize /*position*/)
{
}

FloorInputPtr MakeMemoryInput(const uint8_t* data, ioSize size)
{
    return FloorInputPtr(new MemoryInput(data, size));
}

FloorOutputPtr MakeStringOutput(std::string* target)
{
    return FloorOutputPtr(new StringOutput(target));
}

FloorInputPtr MakeFileInput(const std::string& path)
{
    return FloorInputPtr(new FileInput(path));
}

FloorOutputPtr MakeFileOutput(const std::string& path)
{
    return FloorOutputPtr(new FileOutput(path));
}

FloorInputPtr MakePipeInput(const std::string& path, bool logs)
{
    return logs ? FloorInputPtr(new PipeInput<true>(path)) : FloorInputPtr(new PipeInput<false>(path));
}

FloorOutputPtr MakePipeOutput(const std::string& path, bool logs)
{
    return logs ? FloorOutputPtr(new PipeOutput<true>(path)) : FloorOutputPtr(new PipeOutput<false>(path));
}

FloorChannelPtr MakeDirectChannel(const Tarsel::SP<Tarsel::Core::IByteDataInput>& input,
                                  const Tarsel::SP<Tarsel::Core::IByteDataOutput>& output)
{
    return FloorChannelPtr(new DirectChannel(input, output));
}

FloorChannelPtr MakeThreadedChannel(const FloorInputPtr& input, const FloorOutputPtr& output)
{
    return FloorChannelPtr(new ThreadedChannel(input, output));
}

}  // namespace Bench
