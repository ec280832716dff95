#pragma once

#include <TarselIO/IDataInput.h>
#include <TarselIO/LockImpl.h>
#include <TarselPointer/RefCountImpl.h>
#include <TarselPointer/SP.h>

namespace Tarsel::Core
{

/// Reads a block of memory that belongs to the caller, without copying it first. The caller keeps the block alive and
/// in place for as long as the stream is read. Changes to its bytes are seen.
///
/// Several streams may read one block at once.
class TARSEL_EXPORT DataInputMemory : public IDataInput
{
public:
    /// Creates a stream over the `size` bytes at `data`, at position 0. `data` may be null if `size` is 0.
    static SP<IDataInput> Create(const uint8_t* data, ioSize size);

    /// Use Create instead.
    DataInputMemory(const uint8_t* data, ioSize size);
    ~DataInputMemory() override;

    // IRefCountable
    int AddRef() const override;
    int GetRefCount() const override;
    int Release() const override;

    // IByteDataInput

    /// Returns the smaller of `size` and what remains; 0 at the end. Never throws.
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
    const uint8_t* m_data;
    ioSize m_size;
    ioSize m_position;  // never beyond m_size
    ioPath m_filename;
};

}  // namespace Tarsel::Core
