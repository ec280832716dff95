#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <filesystem>
#include <mutex>
#include <stdexcept>
#include <string>

#include <TarselIO/IByteDataInput.h>
#include <TarselIO/IByteDataOutput.h>
#include <TarselPointer/SP.h>
#include <boost/smart_ptr/intrusive_ptr.hpp>

#include "rows/Row.h"

namespace Bench
{

// The floors: the work of the library's classes and nothing more, each behind one virtual call and by the same rules
// (one byte per call for bits, 1024 bytes per system call for pipes). Functions in another source file make them all,
// so that the compiler cannot see the class behind an interface and skip the virtual call.

/// What all streams have: a reference count, a lock and a path.
class FloorObject
{
public:
    FloorObject();
    virtual ~FloorObject();
    FloorObject(const FloorObject&) = delete;
    FloorObject& operator=(const FloorObject&) = delete;

    virtual void AddRef();
    virtual void Release();

private:
    std::mutex m_mutex;
    std::atomic<int> m_count{0};
    std::filesystem::path m_path;
};

inline void intrusive_ptr_add_ref(FloorObject* object)
{
    object->AddRef();
}

inline void intrusive_ptr_release(FloorObject* object)
{
    object->Release();
}

class FloorInput : public FloorObject
{
public:
    virtual ioSize Read(uint8_t* data, ioSize size) = 0;
    virtual void SetPosition(ioSize position);  // does nothing by default: pipes have no position
};

class FloorOutput : public FloorObject
{
public:
    virtual ioSize Write(const uint8_t* data, ioSize size) = 0;
    virtual void SetPosition(ioSize position);  // does nothing by default
};

class FloorChannel : public FloorObject
{
public:
    virtual ioSize ReadHeader() = 0;
    virtual ioSize Read(uint8_t* data, ioSize size) = 0;
    virtual ioSize Write(const uint8_t* data, ioSize size) = 0;
};

using FloorInputPtr = boost::intrusive_ptr<FloorInput>;
using FloorOutputPtr = boost::intrusive_ptr<FloorOutput>;
using FloorChannelPtr = boost::intrusive_ptr<FloorChannel>;

FloorInputPtr MakeMemoryInput(const uint8_t* data, ioSize size);
FloorOutputPtr MakeStringOutput(std::string* target);

/// One `fread`, which locks the FILE.
FloorInputPtr MakeFileInput(const std::string& path);

/// One `fwrite` and `fflush`, which lock the FILE.
FloorOutputPtr MakeFileOutput(const std::string& path);

FloorInputPtr MakePipeInput(const std::string& path, bool logs);
FloorOutputPtr MakePipeOutput(const std::string& path, bool logs);

/// Uses the library's streams, so that only the channel itself makes a difference.
FloorChannelPtr MakeDirectChannel(const Tarsel::SP<Tarsel::Core::IByteDataInput>& input,
                                  const Tarsel::SP<Tarsel::Core::IByteDataOutput>& output);

/// A std::thread receives and passes on messages with a mutex and conditions, which it notifies after unlocking. An
/// empty frame ends it.
FloorChannelPtr MakeThreadedChannel(const FloorInputPtr& input, const FloorOutputPtr& output);

/// Inline, as the library's bit streams are: there is one virtual call per byte.
class FloorBitInput
{
public:
    explicit FloorBitInput(const FloorInputPtr& input) : m_input(input) {}

    std::uint64_t ReadBits(ioSize count)
    {
        std::uint64_t bits = 0;
        while (count != 0)
        {
            if (m_unread == 0)
            {
                if (m_input->Read(&m_byte, 1) != 1)
                {
                    throw std::runtime_error("end of data");
                }
                m_unread = 8;
            }
            const ioSize take = std::min(m_unread, count);
            m_unread -= take;
            count -= take;
            bits = (bits << take) | ((m_byte >> m_unread) & ((1U << take) - 1U));
        }
        return bits;
    }

private:
    FloorInputPtr m_input;
    uint8_t m_byte = 0;
    ioSize m_unread = 0;
};

class FloorBitOutput
{
public:
    explicit FloorBitOutput(const FloorOutputPtr& output) : m_output(output) {}

    void WriteBits(uint8_t value, ioSize count)
    {
        while (count != 0)
        {
            const ioSize take = std::min(m_free, count);
            count -= take;
            m_free -= take;
            m_byte =
                static_cast<uint8_t>((unsigned{m_byte} << take) | ((unsigned{value} >> count) & ((1U << take) - 1U)));
            if (m_free == 0)
            {
                m_output->Write(&m_byte, 1);
                m_byte = 0;
                m_free = 8;
            }
        }
    }

    void WriteData(const uint8_t* data, ioSize size)
    {
        std::for_each(data, data + size, [this](uint8_t byte) { WriteBits(byte, 8); });
    }

private:
    FloorOutputPtr m_output;
    uint8_t m_byte = 0;
    ioSize m_free = 8;
};

}  // namespace Bench
