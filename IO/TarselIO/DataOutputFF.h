#pragma once

#include <TarselIO/IDataOutput.h>
#include <TarselIO/LockImpl.h>
#include <TarselPointer/RefCountImpl.h>
#include <TarselPointer/SP.h>

namespace Tarsel::Core
{

/// Acts as a placeholder: an output that accepts nothing and carries a file name. It is for places that need a stream
/// with a name and write nothing to it. It never touches the file system, and no operation fails.
class TARSEL_EXPORT DataOutputFF : public virtual IDataOutput
{
public:
    /// Creates a placeholder. Any path is accepted, whether or not it names a file.
    static SP<IDataOutput> Create(const ioPath& path);

    /// Use Create instead.
    explicit DataOutputFF(const ioPath& path);
    ~DataOutputFF() override;

    // IRefCountable
    int AddRef() const override;
    int GetRefCount() const override;
    int Release() const override;

    // IByteDataOutput
    ioSize Write(const uint8_t* data, ioSize size) override;  ///< Returns 0 and does not look at `data`.

    // IDataOutput
    const ioPath& GetFilename() const override;
    ioSize GetSize() const override;             ///< Returns 0.
    void SetSize(ioSize size) override;          ///< Does nothing.
    ioSize GetPosition() const override;         ///< Returns 0.
    void SetPosition(ioSize position) override;  ///< Does nothing.

    // ILockable
    void Lock() override;
    bool TryLock() override;
    void Unlock() override;

private:
    LockImpl m_lock;
    RefCountImpl m_refCount;
    ioPath m_filename;
};

}  // namespace Tarsel::Core
