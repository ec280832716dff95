#pragma once

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include <TarselIO/IDataOutput.h>
#include <TarselPointer/SP.h>
#include <TarselStdStream/SeekableStreambuf.h>

namespace Tarsel::Core
{

/// Lets a std::ostream write a seekable output stream:
///
/// ```cpp
/// OutputStreambuf buffer(DataOutputFile::Create("words.txt"));
/// std::ostream words(&buffer);
/// words << "one\n" << std::flush;
/// ```
///
/// Bytes wait in the buffer until it is full, flushed or moved. The destructor writes the rest as well, but cannot
/// report a failure: flush first and check the result. After a failed write, the buffered bytes stay in the buffer. The
/// next attempt begins again at the same position, so that none of them is written twice or left out.
///
/// Nobody else uses the underlying stream at the same time. One thread at a time uses the buffer, as with any stream.
class TARSEL_EXPORT OutputStreambuf : public SeekableStreambuf
{
public:
    /// Writes `stream`, which is not null, from its current position. Gathers up to `bufferSize` bytes for a write.
    ///
    /// Throws what allocation throws.
    explicit OutputStreambuf(SP<IDataOutput> stream, std::size_t bufferSize = kDefaultBufferSize)
        : SeekableStreambuf(std::ios_base::out),
          m_stream(std::move(stream)),
          m_buffer(UsableSize(bufferSize)),
          m_writeBegin(m_stream->GetPosition()),
          m_furthest(m_writeBegin),
          m_misplaced(false)
    {
        Empty();
    }

    ~OutputStreambuf() override { Flush(); }

protected:
    /// Writes what is buffered, then takes `byte`.
    int_type overflow(int_type byte) override
    {
        Drain();
        if (!traits_type::eq_int_type(byte, traits_type::eof()))
        {
            *pptr() = traits_type::to_char_type(byte);
            pbump(1);
        }
        return traits_type::not_eof(byte);
    }

    /// Takes `size` bytes. What is larger than the buffer bypasses it. A `size` of 0 or less moves nothing.
    std::streamsize xsputn(const char* data, std::streamsize size) override
    {
        if (size <= 0)
        {
            return 0;
        }
        if (size > epptr() - pptr())
        {
            Drain();
        }
        if (size > epptr() - pptr())
        {
            WriteStream(data, static_cast<ioSize>(size));
        }
        else
        {
            std::copy_n(data, size, pptr());
            pbump(static_cast<int>(size));
        }
        return size;
    }

    /// Writes what is buffered. Returns -1 on failure.
    int sync() override { return Flush() ? 0 : -1; }

    ioSize Position() const override { return m_writeBegin + Buffered(); }

    /// Includes what was written, because a file stream keeps returning the size that it had when it was opened.
    ioSize End() const override { return std::max({m_stream->GetSize(), m_furthest, Position()}); }

    bool MoveTo(ioSize position) override
    {
        if (position == Position())
        {
            return true;
        }
        Drain();
        m_misplaced = true;
        m_stream->SetPosition(position);
        m_writeBegin = m_stream->GetPosition();
        m_misplaced = false;
        return m_writeBegin == position;
    }

private:
    ioSize Buffered() const { return static_cast<ioSize>(pptr() - pbase()); }
    void Empty() { setp(m_buffer.data(), m_buffer.data() + m_buffer.size()); }

    void Drain()
    {
        WriteStream(pbase(), Buffered());
        Empty();
    }

    bool Flush()
    {
        return Succeeds(
            [this]
            {
                Drain();
                return true;
            });
    }

    void WriteStream(const char* data, ioSize size)
    {
        if (size != 0)
        {
            KeepFailure([&] { WriteAll(reinterpret_cast<const uint8_t*>(data), size); });
        }
    }

    void WriteAll(const uint8_t* data, ioSize size)
    {
        if (std::exchange(m_misplaced, true))
        {
            m_stream->SetPosition(m_writeBegin);
        }
        for (ioSize done = 0; done != size;)
        {
            const ioSize count = m_stream->Write(data + done, size - done);
            if (count == 0)
            {
                Fail("The stream takes no more bytes", m_stream->GetFilename());
            }
            done += count;
        }
        m_misplaced = false;
        m_writeBegin += size;
        m_furthest = std::max(m_furthest, m_writeBegin);
    }

    const SP<IDataOutput> m_stream;
    std::vector<char> m_buffer;
    ioSize m_writeBegin;  // the offset of the first buffered byte
    ioSize m_furthest;    // the end of what has been written
    bool m_misplaced;     // after a failure, the stream may be elsewhere than at m_writeBegin
};

}  // namespace Tarsel::Core
