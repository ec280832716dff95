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

/// Reads a std::istream that belongs to the caller, as a seekable stream.
/// The caller keeps the istream alive, and does not use it otherwise, while the stream is used. It has to be seekable,
/// which a file or a string is and std::cin mostly is not.
class TARSEL_EXPORT DataInputIstream : public RefCounted<IDataInput>
{
public:
    /// A stream over `*source`, which is not null, from where that stands. Throws IOException with TagDescription when
    /// it cannot be positioned.
    static SP<IDataInput> Create(std::istream* source) { return SP<IDataInput>(new DataInputIstream(source)); }

    /// Does the work of Create, which callers use.
    explicit DataInputIstream(std::istream* source) : m_source(*source, std::ios_base::in), m_position(m_source.Begin())
    {
    }

    // IByteDataInput

    /// Returns less than `size` at the end and after a failure, which sets the istream's badbit; from then on always 0.
    /// Never throws. The end sets no bit.
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
    const ioPath& GetFilename() const override { return m_filename; }  ///< always empty

    /// Where the istream ended when the stream was made; later changes do not show.
    ioSize GetSize() const override { return m_source.End(); }

    ioSize GetPosition() const override { return m_position; }  ///< from 0

    /// Throws IOException with IOException::TagSeek for a position beyond the size, and when the istream does not go
    /// there. The position stays what it was.
    void SetPosition(ioSize position) override
    {
        m_source.SetPosition(position, m_source.End());
        m_position = position;
    }

    // ILockable
    void Lock() override { m_lock.Lock_Impl(); }               ///< waits until the lock is free
    bool TryLock() override { return m_lock.TryLock_Impl(); }  ///< does not wait
    void Unlock() override { m_lock.Unlock_Impl(); }           ///< by the thread that holds it

protected:
    ~DataInputIstream() override = default;

private:
    LockImpl m_lock;
    StandardStream m_source;
    ioSize m_position;
    ioPath m_filename;
};

}  // namespace Tarsel::Core
