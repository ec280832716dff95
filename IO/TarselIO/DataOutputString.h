#pragma once

#include <string>

#include <TarselIO/IDataOutput.h>
#include <TarselIO/LockImpl.h>
#include <TarselPointer/RefCountImpl.h>
#include <TarselPointer/SP.h>

namespace Tarsel::Core
{

/// Writes into a string that belongs to the caller, overwriting what is there and growing it as needed. The caller
/// keeps the string alive while the stream is used. Each call looks at the string's length again.
class TARSEL_EXPORT DataOutputString : public virtual IDataOutput
{
public:
    /// Creates a stream over `*target`, at position 0: the first write overwrites what the string contains. `target` is
    /// not null.
    static SP<IDataOutput> Create(std::string* target);

    /// Use Create instead.
    explicit DataOutputString(std::string* target);
    ~DataOutputString() override;

    // IRefCountable
    int AddRef() const override;
    int GetRefCount() const override;
    int Release() const override;

    // IByteDataOutput

    /// Writes all `size` bytes and returns `size`. `data` does not point into the string. If the string was cut below
    /// the position, zero bytes fill the gap.
    ///
    /// Throws what lengthening the string throws, and std::length_error for an end beyond 2^64. Then nothing has
    /// changed.
    ioSize Write(const uint8_t* data, ioSize size) override;

    // IDataOutput
    const ioPath& GetFilename() const override;  ///< Returns the empty path.
    ioSize GetSize() const override;

    /// Makes the string exactly `size` bytes long. Throws what lengthening the string throws.
    void SetSize(ioSize size) override;

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
    std::string* m_target;
    ioSize m_position;
    ioPath m_filename;
};

}  // namespace Tarsel::Core
