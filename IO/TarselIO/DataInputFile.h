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
///
/// A directory opens as well, as far as `fopen` allows it. Its reads return 0 with EISDIR in `errno`, and its size
/// means nothing (ext4: 2^63-1).
///
/// One thread at a time uses it. Its FILE takes no lock, so no thread may call `fflush(nullptr)` or end the process at
/// the same time.
class TARSEL_EXPORT DataInputFile : public virtual IDataInput
{
public:
    /// Opens the file, at position 0.
    ///
    /// Throws IOException if the file cannot be opened, with TagFilename (the path), TagDescription, TagDetails (the
    /// system's error text) and TagCallStack.
    static SP<IDataInput> Create(const ioPath& path);

    /// Use Create instead. The constructor does not throw if the file cannot be opened; Good() reports that.
    explicit DataInputFile(const ioPath& path);
    ~DataInputFile() override;

    /// Returns whether the file is open, which is always true for a stream that Create returned.
    bool Good();

    // IRefCountable
    int AddRef() const override;
    int GetRefCount() const override;
    int Release() const override;

    // IByteDataInput

    /// Reads by one `fread`. Never throws, and logs nothing.
    ///
    /// Returns less than `size` at the end of the file and after a read error. To distinguish the two, set `errno` to 0
    /// before the call: after a short count it is the read error, or still 0 at the end of the file.
    ///
    /// The end is remembered: once a Read has reached it, glibc returns 0 even when the file has grown since. Call
    /// `SetPosition(GetPosition())` to make the next Read look again.
    ioSize Read(uint8_t* data, ioSize size) override;

    // IDataInput
    const ioPath& GetFilename() const override;

    /// Returns the size in bytes when the file was opened, or 2^64-1 if it could not be measured. Later changes of the
    /// file do not show.
    ioSize GetSize() const override;

    /// Returns the position in the file, or 2^64-1 if the system does not report it.
    ioSize GetPosition() const override;

    /// Moves by one `fseek`, whose failure is not reported. GetPosition shows whether the stream has moved.
    /// - A position past the end is accepted; reads there return 0.
    /// - A position of 2^63 or more is ignored, and so is a smaller one if the file system ends earlier (ext4: 2^44).
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
