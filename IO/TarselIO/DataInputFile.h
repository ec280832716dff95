#pragma once

#include <cstdint>
#include <cstdio>

#include <TarselIO/IDataInput.h>
#include <TarselIO/LockImpl.h>
#include <TarselPointer/RefCountImpl.h>
#include <TarselPointer/SP.h>

namespace Tarsel::Core
{

/// Reads a file on disk through the standard I/O library (ISO C `fopen` with "rb"), whose buffer is the only one.
/// One thread at a time uses it: its FILE takes no lock, so no thread calls `fflush(nullptr)` or ends the process
/// at the same time. A directory opens as well, as far as `fopen` allows it: its reads return 0 with EISDIR in `errno`,
/// and its size means nothing (ext4: 2^63-1).
class TARSEL_EXPORT DataInputFile : public virtual IDataInput
{
public:
    /// Opens the file, at position 0. Throws IOException when it cannot be opened, with TagFilename (the path),
    /// TagDescription, TagDetails (the system's error text) and TagCallStack.
    static SP<IDataInput> Create(const ioPath& path);

    /// Opens the file without throwing for a failure, which Good() reports. Callers use Create.
    explicit DataInputFile(const ioPath& path);
    ~DataInputFile() override;

    /// True when the file is open: always, for a stream that Create returned.
    bool Good();

    // IRefCountable
    int AddRef() const override;
    int GetRefCount() const override;
    int Release() const override;

    // IByteDataInput

    /// One `fread`. Returns less than `size` at the end of the file and after a read error. Never throws, and logs
    /// nothing. To tell the two apart, set `errno` to 0 before the call: after a short count it is the read error, or
    /// still 0 at the end of the file.
    ///
    /// The end is remembered: once a Read has reached it, glibc returns 0 also when the file has grown since.
    /// `SetPosition(GetPosition())` makes the next Read look again.
    ioSize Read(uint8_t* data, ioSize size) override;

    // IDataInput
    const ioPath& GetFilename() const override;

    /// The size in bytes when the file was opened; later changes of the file do not show. 2^64-1 if it could not be
    /// measured.
    ioSize GetSize() const override;

    /// The position in the file, 2^64-1 if the system does not report it.
    ioSize GetPosition() const override;

    /// One `fseek`, whose failure goes unseen. A position past the end is accepted, reads there return 0. A position of
    /// 2^63 or more is ignored, and so is a smaller one where the file system ends earlier (ext4: 2^44); GetPosition
    /// shows whether the stream has moved.
    void SetPosition(ioSize position) override;

    // ILockable
    void Lock() override;
    bool TryLock() override;
    void Unlock() override;

private:
    DataInputFile(const ioPath& path, int* openError);

    LockImpl m_lock;
    RefCountImpl m_refCount;
    ioPath m_filename;
    std::FILE* m_file;
    std::int64_t m_size;
};

}  // namespace Tarsel::Core
