#pragma once

#include <TarselIO/IDataInput.h>
#include <TarselIO/LockImpl.h>
#include <TarselPointer/RefCountImpl.h>
#include <TarselPointer/SP.h>

namespace Tarsel::Core
{

/// A placeholder: an always empty input that carries a file name, for places that want a stream with a name and read
/// nothing from it. Never touches the file system. No operation fails.
class TARSEL_EXPORT DataInputFF : public virtual IDataInput
{
public:
    /// Any path will do, whether or not something is there.
    static SP<IDataInput> Create(const ioPath& path);

    /// Does the work of Create, which callers use.
    explicit DataInputFF(const ioPath& path);
    ~DataInputFF() override;

    // IRefCountable
    int AddRef() const override;
    int GetRefCount() const override;
    int Release() const override;

    // IByteDataInput
    ioSize Read(uint8_t* data, ioSize size) override;  ///< returns 0 and leaves `data` as it is

    // IDataInput
    const ioPath& GetFilename() const override;
    ioSize GetSize() const override;             ///< always 0
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
