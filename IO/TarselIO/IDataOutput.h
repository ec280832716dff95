#pragma once

#include <TarselFilesystem/ioPath.h>
#include <TarselIO/IByteDataOutput.h>
#include <TarselIO/ILockable.h>

namespace Tarsel::Core
{

/// Bytes that are written at a position which can be moved.
/// No operation takes the lock by itself: threads that share a stream put AutoLock around each sequence that belongs
/// together. The order of the operations is binary interface.
class TARSEL_EXPORT IDataOutput : public virtual IByteDataOutput, public virtual IRefCountable, public virtual ILockable
{
protected:
    ~IDataOutput() override;

public:
    /// The path that the stream was made with, empty for streams without a file; valid for the stream's life.
    virtual const ioPath& GetFilename() const = 0;

    /// The number of bytes in the stream; the file stream reports the size measured when it was opened.
    virtual ioSize GetSize() const = 0;

    /// Sets the length of the data: growing adds zero bytes, shrinking cuts, and a position beyond the new end moves
    /// to it.
    virtual void SetSize(ioSize size) = 0;

    /// The offset of the next byte to be written, from 0.
    virtual ioSize GetPosition() const = 0;

    /// Moves to the offset `position`, from 0 up to and including the size. What lies beyond is the class's own matter:
    /// the string stream throws IOException with IOException::TagSeek, the file stream leaves a gap of zero bytes.
    virtual void SetPosition(ioSize position) = 0;
};

}  // namespace Tarsel::Core
