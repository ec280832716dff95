#pragma once

#include <string>

#include <TarselIO/IDataOutput.h>
#include <TarselIO/LockImpl.h>
#include <TarselPointer/RefCountImpl.h>
#include <TarselPointer/SP.h>

namespace Tarsel::Core
{

/// Writes into a string that belongs to the caller, overwriting what is there and growing it as needed.
/// The caller keeps the string alive while the stream is used. Its length is read afresh on each call.
class TARSEL_EXPORT DataOutputString : public virtual IDataOutput
{
public:
    /// A stream over `*target`, at position 0: the first write overwrites what the string holds. `target` is not null.
    static SP<IDataOutput> Create(std::string* target);

    /// Does the work of Create, which callers use.
    explicit DataOutputString(std::string* target);
    ~DataOutputString() override;

    // IRefCountable
    int AddRef() const override;
    int GetRefCount() const override;
    int Release() const override;

    // IByteDataOutput

    /// Always takes all of `size` and returns it. `data` does not lie in the string. Where the string was cut below the
    /// position, zero bytes fill the gap. Throws what lengthening the string throws, and std::length_error for an end
    /// beyond 2^64; then nothing has changed.
    ioSize Write(const uint8_t* data, ioSize size) override;

    // IDataOutput
    const ioPath& GetFilename() const override;  ///< always empty
    ioSize GetSize() const override;

    /// Makes the string exactly `size` bytes long; a position beyond the new end moves to it. Throws what lengthening
    /// the string throws.
    void SetSize(ioSize size) override;

    ioSize GetPosition() const override;

    /// Throws IOException with IOException::TagSeek for a position beyond the size; the stream stays where it was.
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
