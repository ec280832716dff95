#pragma once

#include <TarselIO/IDataInput.h>
#include <TarselIO/LockImpl.h>
#include <TarselPointer/RefCountImpl.h>
#include <TarselPointer/SP.h>

namespace Tarsel::Core
{

/// Acts as a placeholder: an input that is always empty and carries a file name. It is for places that need a stream
/// with a name and read nothing from it. It never touches the file system, and no operation fails.
class TARSEL_EXPORT DataInputFF : public virtual IDataInput
{
public:
    /// Creates a placeholder. Any path is accepted, whether or not it names a file.
    static SP<IDataInput> Create(const ioPath& path);

    /// Use Create instead.
    explicit DataInputFF(const ioPath& path);
    ~DataInputFF() override;

    // IRefCountable
    int AddRef() const override;
    int GetRefCount() const override;
    int Release() const override;

    // IByteDataInput
    ioSize Read(uint8_t* data, ioSize size) override;  ///< Returns 0 and leaves `data` unchanged.

    // IDataInput
    const ioPath& GetFilename() const override;
    ioSize GetSize() const override;             ///< Returns 0.
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
