#pragma once

#include <TarselFilesystem/ioPath.h>
#include <TarselIO/IByteDataInput.h>
#include <TarselIO/ILockable.h>

namespace Tarsel::Core
{

/// Bytes of a known size that are read at a position which can be moved.
/// No operation takes the lock by itself: threads that share a stream put AutoLock around each sequence that belongs
/// together. The order of the operations is binary interface.
class TARSEL_EXPORT IDataInput : public virtual IByteDataInput, public virtual IRefCountable, public virtual ILockable
{
protected:
    ~IDataInput() override;

public:
    /// The path that the stream was made with, empty for streams without a file; valid for the stream's life.
    virtual const ioPath& GetFilename() const = 0;

    /// The number of bytes in the stream.
    virtual ioSize GetSize() const = 0;

    /// The offset of the next byte to be read, from 0.
    virtual ioSize GetPosition() const = 0;

    /// Moves to the offset `position`, from 0 up to and including the size. What lies beyond is the class's own matter:
    /// memory and string streams throw IOException with IOException::TagSeek and stay where they were.
    virtual void SetPosition(ioSize position) = 0;
};

}  // namespace Tarsel::Core
