#pragma once

#include <TarselFilesystem/ioPath.h>
#include <TarselIO/IByteDataOutput.h>
#include <TarselIO/ILockable.h>

namespace Tarsel::Core
{

/// Writes bytes at a position that can be moved.
///
/// No operation takes the lock by itself. If threads share a stream, hold an AutoLock around each sequence of calls
/// that belongs together.
///
/// The order of the operations is part of the binary interface.
class TARSEL_EXPORT IDataOutput : public virtual IByteDataOutput, public virtual IRefCountable, public virtual ILockable
{
protected:
    ~IDataOutput() override;

public:
    /// Returns the path that the stream was created with; empty for streams without a file. The reference is valid for
    /// the stream's life.
    virtual const ioPath& GetFilename() const = 0;

    /// Returns the number of bytes in the stream. The file stream returns the size measured when it was opened.
    virtual ioSize GetSize() const = 0;

    /// Sets the length of the data. Growing adds zero bytes, shrinking cuts, and a position beyond the new end moves to
    /// it.
    virtual void SetSize(ioSize size) = 0;

    /// Returns the offset of the next byte to be written, from 0.
    virtual ioSize GetPosition() const = 0;

    /// Moves to the offset `position`, from 0 up to and including the size. Each class decides what happens beyond the
    /// size: the string stream throws IOException with IOException::TagSeek, the file stream leaves a gap of zero
    /// bytes.
    virtual void SetPosition(ioSize position) = 0;
};

}  // namespace Tarsel::Core
