#pragma once

#include <TarselIO/IDataOutput.h>
#include <TarselIO/LockImpl.h>
#include <TarselPointer/RefCountImpl.h>
#include <TarselPointer/SP.h>

namespace Tarsel::Core
{

/// A placeholder: an output that accepts nothing and carries a file name, for places that want a stream with a name
/// and write nothing to it. Never touches the file system. No operation fails.
class TARSEL_EXPORT DataOutputFF : public virtual IDataOutput
{
public:
    /// Any path will do, whether or not something is there.
    static SP<IDataOutput> Create(const ioPath& path);

    /// Does the work of Create, which callers use.
    explicit DataOutputFF(const ioPath& path);
    ~DataOutputFF() override;

    // IRefCountable
    int AddRef() const override;
    int GetRefCount() const override;
    int Release() const override;

    // IByteDataOutput
    ioSize Write(const uint8_t* data, ioSize size) override;  ///< returns 0 and does not look at `data`

    // IDataOutput
    const ioPath& GetFilename() const override;
    ioSize GetSize() const override;             ///< always 0
    void SetSize(ioSize size) override;          ///< ignored
    ioSize GetPosition() const override;         ///< always 0
    void SetPosition(ioSize position) override;  ///< ignored

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
