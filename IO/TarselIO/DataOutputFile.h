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
///
/// Throws IOException on failure, with one record: TagDescription, which is the system's error text. A Write that fails
/// may return a short count instead.
///
/// One thread at a time uses it.
class TARSEL_EXPORT DataOutputFile : public virtual IDataOutput
{
public:
    /// Creates the file, or cuts an existing one to 0 bytes. Creates the missing directories above `path` first.
    ///
    /// Throws if the file cannot be opened or cannot seek.
    ///
    /// Blocks if `path` is a named pipe (FIFO), until the FIFO has a reader. It then throws, because a FIFO cannot
    /// seek.
    static SP<IDataOutput> Create(const ioPath& path);

    /// Use Create instead.
    explicit DataOutputFile(const ioPath& path);
    ~DataOutputFile() override;

    /// Closes `file` unless it is null.
    static void Fclose(std::FILE* file);

    /// Returns whether a file is open, which is always true, since the constructor throws otherwise.
    bool Good();

    // IRefCountable
    int AddRef() const override;
    int GetRefCount() const override;
    int Release() const override;

    // IByteDataOutput

    /// Writes by one `fwrite`, then one `fflush`, also for a `size` of 0.
    ///
    /// Returns what `fwrite` returned. Throws if the flush fails. When the disk is full or the file has reached its
    /// size limit, the size of the write decides:
    /// - a large write returns less than `size`, and the reason is in `errno`. The count may include bytes that did not
    ///   reach the file;
    /// - a small write throws.
    ///
    /// So compare the result with `size`, and catch the exception as well. In both cases glibc drops the bytes that did
    /// not reach the file, GetPosition returns the end of those that did, and the stream stays usable.
    ioSize Write(const uint8_t* data, ioSize size) override;

    // IDataOutput
    const ioPath& GetFilename() const override;

    /// Returns the size in bytes measured when the file was opened, which is 0. GetPosition shows how much was written.
    ioSize GetSize() const override;

    /// Sets the file's length in bytes, 0 to 2^63-1.
    void SetSize(ioSize size) override;

    /// Returns the position in the file, or 2^64-1 if the system does not report it. After a Write that failed, it is
    /// the end of the bytes that reached the file.
    ioSize GetPosition() const override;

    /// Moves to `position`. Past the end, the next write leaves a gap of zero bytes.
    ///
    /// Throws for 2^63 and more, and for less if the file system ends earlier (ext4: 2^44). The stream then stays where
    /// it is and remains usable.
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
