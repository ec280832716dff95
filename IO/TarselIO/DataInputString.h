#pragma once

#include <string>

#include <TarselIO/IDataInput.h>
#include <TarselIO/LockImpl.h>
#include <TarselPointer/RefCountImpl.h>
#include <TarselPointer/SP.h>

namespace Tarsel::Core
{

/// Reads the bytes of a string that belongs to the caller, without copying it first. The caller keeps the string alive
/// while the stream is used. Each call looks at the string's length again, so changes are seen at once.
class TARSEL_EXPORT DataInputString : public virtual IDataInput
{
public:
    /// Creates a stream over `*source`, at position 0. `source` is not null.
    static SP<IDataInput> Create(const std::string* source);

    /// Use Create instead.
    explicit DataInputString(const std::string* source);
    ~DataInputString() override;

    // IRefCountable
    int AddRef() const override;
    int GetRefCount() const override;
    int Release() const override;

    // IByteDataInput

    /// Returns the smaller of `size` and what remains; 0 at the end, and if the string was cut below the position.
    /// Never throws.
    ioSize Read(uint8_t* data, ioSize size) override;

    // IDataInput
    const ioPath& GetFilename() const override;  ///< Returns the empty path.
    ioSize GetSize() const override;
    ioSize GetPosition() const override;

    /// Throws IOException with IOException::TagSeek for a position beyond the size. The stream then stays where it was.
    void SetPosition(ioSize position) override;

    // ILockable
    void Lock() override;
    bool TryLock() override;
    void Unlock() override;

private:
    LockImpl m_lock;
    RefCountImpl m_refCount;
    const std::string* m_source;
    ioSize m_position;
    ioPath m_filename;
};

}  // namespace Tarsel::Core
