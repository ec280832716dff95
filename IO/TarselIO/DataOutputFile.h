#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>

#include <TarselIO/IDataOutput.h>
#include <TarselIO/LockImpl.h>
#include <TarselPointer/RefCountImpl.h>
#include <TarselPointer/SP.h>

namespace Tarsel::Core
{

/// Writes a file on disk through the standard I/O library (ISO C `fopen` with "wb"). Every write is flushed to the
/// operating system before it returns, so that the write that fails is the one that reports it.
/// One thread at a time uses it.
///
/// Every failure throws IOException with one record, TagDescription, which is the system's error text.
class TARSEL_EXPORT DataOutputFile : public virtual IDataOutput
{
public:
    /// Creates the missing directories above `path`, then creates the file or cuts an existing one to 0 bytes. Throws
    /// when the file cannot be opened or cannot seek (a named pipe, for example).
    static SP<IDataOutput> Create(const ioPath& path);

    /// Does the work of Create, which callers use.
    explicit DataOutputFile(const ioPath& path);
    ~DataOutputFile() override;

    /// Closes `file` unless it is null.
    static void Fclose(std::FILE* file);

    /// True when a file is open: always, since the constructor throws otherwise.
    bool Good();

    // IRefCountable
    int AddRef() const override;
    int GetRefCount() const override;
    int Release() const override;

    // IByteDataOutput

    /// One `fwrite`, then one `fflush`, also for a `size` of 0. Returns the bytes that `fwrite` took. Throws when the
    /// flush fails; the position has then advanced past bytes that may be in the file only in part.
    ioSize Write(const uint8_t* data, ioSize size) override;

    // IDataOutput
    const ioPath& GetFilename() const override;

    /// The size in bytes measured when the file was opened, which is 0. GetPosition tells how much was written.
    ioSize GetSize() const override;

    /// Sets the file's length in bytes, 0 to 2^63-1: growing adds zero bytes, shrinking cuts, a position beyond the new
    /// end moves to it.
    void SetSize(ioSize size) override;

    /// The position of the file, 2^64-1 if the system does not tell it.
    ioSize GetPosition() const override;

    /// Moves to `position`, 0 to 2^63-1; past the end, the next write leaves a gap of zero bytes. After a failure the
    /// stream stays usable.
    void SetPosition(ioSize position) override;

    // ILockable
    void Lock() override;
    bool TryLock() override;
    void Unlock() override;

private:
    LockImpl m_lock;
    RefCountImpl m_refCount;
    ioPath m_filename;
    std::shared_ptr<std::FILE> m_file;
    std::int64_t m_size;
};

}  // namespace Tarsel::Core
