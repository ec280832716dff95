#pragma once

#include <algorithm>
#include <cstdint>
#include <ostream>

#include <TarselIO/IDataOutput.h>
#include <TarselIO/LockImpl.h>
#include <TarselPointer/RefCounted.h>
#include <TarselPointer/SP.h>
#include <TarselStdStream/StandardStream.h>

namespace Tarsel::Core
{

/// Writes a std::ostream that belongs to the caller, as a seekable stream. The caller keeps the ostream alive, and does
/// not use it otherwise, while the stream is used. The ostream has to be seekable, and not opened for appending. If it
/// holds bytes back in its own buffer, it writes them when the caller flushes or closes it, and reports a failure then.
class TARSEL_EXPORT DataOutputOstream : public RefCounted<IDataOutput>
{
public:
    /// Creates a stream over `*target` from its current position. `target` is not null.
    ///
    /// Throws IOException with TagDescription if the ostream cannot be positioned.
    static SP<IDataOutput> Create(std::ostream* target) { return SP<IDataOutput>(new DataOutputOstream(target)); }

    /// Use Create instead.
    explicit DataOutputOstream(std::ostream* target)
        : m_target(*target, std::ios_base::out), m_position(m_target.Begin()), m_size(m_target.End())
    {
    }

    // IByteDataOutput

    /// Writes all `size` bytes and returns `size`.
    ///
    /// Throws IOException with TagDescription if the ostream does not take all of them. The ostream then has its badbit
    /// set, which makes every later write fail, and the position is behind what it took.
    ioSize Write(const uint8_t* data, ioSize size) override
    {
        const auto* const source = reinterpret_cast<const char*>(data);
        Append(size,
               [source](std::streambuf& buffer, ioSize offset, std::streamsize count)
               { return buffer.sputn(source + offset, count); });
        return size;
    }

    // IDataOutput
    const ioPath& GetFilename() const override { return m_filename; }  ///< Returns the empty path.

    /// Returns where the ostream ended when the stream was created, or the end of what has been written since.
    ioSize GetSize() const override { return m_size; }

    /// Grows by writing zero bytes, and leaves the position. A standard stream cannot be cut.
    ///
    /// Throws like Write if the ostream does not take all zeros; the position is then behind those that it took. For a
    /// smaller size, throws IOException with TagDescription and changes nothing.
    void SetSize(ioSize size) override
    {
        if (size < m_size)
        {
            BOOST_THROW_EXCEPTION(IOException() << ErrorDescription("A standard stream cannot be cut"));
        }
        const ioSize position = m_position;
        SetPosition(m_size);
        Append(size - m_size,
               [](std::streambuf& buffer, ioSize /*offset*/, std::streamsize count)
               {
                   static constexpr char kZeros[4096] = {};
                   return buffer.sputn(kZeros, std::min<std::streamsize>(count, sizeof(kZeros)));
               });
        SetPosition(position);
    }

    ioSize GetPosition() const override { return m_position; }

    /// Throws IOException with IOException::TagSeek for a position beyond the size, or if the ostream does not move
    /// there. The position then stays what it was.
    void SetPosition(ioSize position) override
    {
        m_target.SetPosition(position, m_size);
        m_position = position;
    }

    // ILockable
    void Lock() override { m_lock.Lock_Impl(); }
    bool TryLock() override { return m_lock.TryLock_Impl(); }
    void Unlock() override { m_lock.Unlock_Impl(); }

protected:
    ~DataOutputOstream() override = default;

private:
    template <class Transfer>
    void Append(ioSize size, Transfer transfer)
    {
        const ioSize count = m_target.MoveBytes(size, transfer);
        m_position += count;
        m_size = std::max(m_size, m_position);
        if (count != size)
        {
            m_target.SetBad();
            BOOST_THROW_EXCEPTION(IOException() << ErrorDescription("The standard stream cannot be written"));
        }
    }

    LockImpl m_lock;
    StandardStream m_target;
    ioSize m_position;
    ioSize m_size;
    ioPath m_filename;
};

}  // namespace Tarsel::Core
