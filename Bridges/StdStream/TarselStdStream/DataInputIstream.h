#pragma once

#include <cstdint>
#include <istream>

#include <TarselIO/IDataInput.h>
#include <TarselIO/LockImpl.h>
#include <TarselPointer/RefCounted.h>
#include <TarselPointer/SP.h>
#include <TarselStdStream/StandardStream.h>

namespace Tarsel::Core
{

/// Reads a std::istream that belongs to the caller, as a seekable stream. The caller keeps the istream alive, and does
/// not use it otherwise, while the stream is used. The istream has to be seekable. A file or a string is; std::cin
/// mostly is not.
class TARSEL_EXPORT DataInputIstream : public RefCounted<IDataInput>
{
public:
    /// Creates a stream over `*source` from its current position. `source` is not null.
    ///
    /// Throws IOException with TagDescription if the istream cannot be positioned.
    static SP<IDataInput> Create(std::istream* source) { return SP<IDataInput>(new DataInputIstream(source)); }

    /// Use Create instead.
    explicit DataInputIstream(std::istream* source) : m_source(*source, std::ios_base::in), m_position(m_source.Begin())
    {
    }

    // IByteDataInput

    /// Returns less than `size` at the end and after a failure. The failure sets the istream's badbit, and from then on
    /// Read always returns 0. The end sets no bit. Never throws.
    ioSize Read(uint8_t* data, ioSize size) override
    {
        auto* const target = reinterpret_cast<char*>(data);
        const ioSize count = m_source.MoveBytes(size,
                                                [target](std::streambuf& buffer, ioSize offset, std::streamsize most)
                                                { return buffer.sgetn(target + offset, most); });
        m_position += count;
        return count;
    }

    // IDataInput
    const ioPath& GetFilename() const override { return m_filename; }  ///< Returns the empty path.

    /// Returns where the istream ended when the stream was created. Later changes do not show.
    ioSize GetSize() const override { return m_source.End(); }

    ioSize GetPosition() const override { return m_position; }

    /// Throws IOException with IOException::TagSeek for a position beyond the size, or if the istream does not move
    /// there. The position then stays what it was.
    void SetPosition(ioSize position) override
    {
        m_source.SetPosition(position, m_source.End());
        m_position = position;
    }

    // ILockable
    void Lock() override { m_lock.Lock_Impl(); }
    bool TryLock() override { return m_lock.TryLock_Impl(); }
    void Unlock() override { m_lock.Unlock_Impl(); }

protected:
    ~DataInputIstream() override = default;

private:
    LockImpl m_lock;
    StandardStream m_source;
    ioSize m_position;
    ioPath m_filename;
};

}  // namespace Tarsel::Core
