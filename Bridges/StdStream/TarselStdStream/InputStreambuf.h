#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

#include <TarselIO/IDataInput.h>
#include <TarselPointer/SP.h>
#include <TarselStdStream/SeekableStreambuf.h>

namespace Tarsel::Core
{

/// Lets a std::istream read a seekable input stream:
///
/// ```cpp
/// InputStreambuf buffer(DataInputFile::Create("words.txt"));
/// std::istream words(&buffer);
/// ```
///
/// It reads ahead, so the underlying stream is further on than the istream. Nobody else uses the underlying stream at
/// the same time. A call of sync moves it to where the istream is; the destructor does not.
///
/// An end before GetSize() counts as a failure, because a file stream that cannot read returns a short count. Every
/// byte can be put back, even across the edge of the buffer, but not exchanged for another one.
///
/// One thread at a time uses the buffer, as with any stream.
class TARSEL_EXPORT InputStreambuf : public SeekableStreambuf
{
public:
    /// Reads `stream`, which is not null, from its current position, mostly in pieces of `bufferSize` bytes.
    ///
    /// Throws what allocation throws.
    explicit InputStreambuf(SP<IDataInput> stream, std::size_t bufferSize = kDefaultBufferSize)
        : SeekableStreambuf(std::ios_base::in),
          m_stream(std::move(stream)),
          m_buffer(UsableSize(bufferSize)),
          m_readEnd(m_stream->GetPosition())
    {
        Drop();
    }

protected:
    /// Reads ahead if nothing is left.
    int_type underflow() override
    {
        if (gptr() == egptr())
        {
            Fill();
        }
        return gptr() == egptr() ? traits_type::eof() : traits_type::to_int_type(*gptr());
    }

    /// Reads up to `size` bytes. What is at least as large as the buffer bypasses it. A `size` of 0 or less moves
    /// nothing.
    std::streamsize xsgetn(char* target, std::streamsize size) override
    {
        if (size <= 0)
        {
            return 0;
        }
        std::streamsize done = TakeBuffered(target, size);
        for (std::streamsize count = 1; count != 0 && done != size; done += count)
        {
            const std::streamsize rest = size - done;
            if (rest < static_cast<std::streamsize>(m_buffer.size()))
            {
                Fill();
                count = TakeBuffered(target + done, rest);
            }
            else
            {
                count = ReadStream(target + done, rest);
            }
        }
        return done;
    }

    /// Returns how many bytes are left by the stream's size. Never returns -1: a file may have more bytes than when it
    /// was opened.
    std::streamsize showmanyc() override
    {
        constexpr ioSize kMost = std::numeric_limits<std::streamsize>::max();
        const ioSize end = End();
        return m_readEnd < end ? static_cast<std::streamsize>(std::min(end - m_readEnd, kMost)) : 0;
    }

    /// Puts a byte back. Moves the stream if the buffer no longer holds that byte.
    int_type pbackfail(int_type byte) override
    {
        const ioSize position = Position();
        if (position == 0 || !Succeeds([&] { return MoveTo(position - 1); }))
        {
            return traits_type::eof();
        }
        const int_type before = underflow();
        if (before == byte || byte == traits_type::eof())
        {
            return before;
        }
        setg(eback(), gptr() + (before == traits_type::eof() ? 0 : 1), egptr());
        return traits_type::eof();
    }

    /// Moves the underlying stream to where the reader is. Returns -1 on failure.
    int sync() override
    {
        return Succeeds([this] { return Reposition(Position()); }) ? 0 : -1;
    }

    ioSize Position() const override { return m_readEnd - static_cast<ioSize>(egptr() - gptr()); }
    ioSize End() const override { return m_stream->GetSize(); }

    bool MoveTo(ioSize position) override
    {
        const ioSize bufferBegin = m_readEnd - static_cast<ioSize>(egptr() - eback());
        if (position < bufferBegin || position > m_readEnd)
        {
            return Reposition(position);
        }
        setg(eback(), egptr() - (m_readEnd - position), egptr());
        return true;
    }

private:
    bool Reposition(ioSize position)
    {
        m_stream->SetPosition(position);
        const ioSize reached = m_stream->GetPosition();
        if (reached != m_readEnd)  // else what is buffered still comes before it
        {
            Drop();
            m_readEnd = reached;
        }
        return reached == position;
    }

    void Drop() { setg(m_buffer.data(), m_buffer.data(), m_buffer.data()); }

    void Fill()
    {
        const std::streamsize count = ReadStream(m_buffer.data(), static_cast<std::streamsize>(m_buffer.size()));
        setg(m_buffer.data(), m_buffer.data(), m_buffer.data() + count);
    }

    std::streamsize TakeBuffered(char* target, std::streamsize size)
    {
        const std::streamsize count = std::min<std::streamsize>(size, egptr() - gptr());
        std::copy_n(gptr(), count, target);
        setg(eback(), gptr() + count, egptr());
        return count;
    }

    std::streamsize ReadStream(char* target, std::streamsize size)
    {
        Drop();
        return KeepFailure(
            [&]
            {
                const ioSize count = m_stream->Read(reinterpret_cast<uint8_t*>(target), static_cast<ioSize>(size));
                m_readEnd += count;
                if (count == 0 && m_readEnd < End())
                {
                    Fail("The stream ended before its size", m_stream->GetFilename());
                }
                return static_cast<std::streamsize>(count);
            });
    }

    const SP<IDataInput> m_stream;
    std::vector<char> m_buffer;
    ioSize m_readEnd;  // the stream's own position: the offset of the byte after the buffered ones
};

}  // namespace Tarsel::Core
