#pragma once

#include <TarselFilesystem/ioPath.h>
#include <TarselIO/IByteDataInput.h>
#include <TarselIO/ILockable.h>

namespace Tarsel::Core
{

/// Reads bytes of a known size at a position that can be moved.
///
/// No operation takes the lock by itself. If threads share a stream, hold an AutoLock around each sequence of calls
/// that belongs together.
///
/// The order of the operations is part of the binary interface.
class TARSEL_EXPORT IDataInput : public virtual IByteDataInput, public virtual IRefCountable, public virtual ILockable
{
protected:
    ~IDataInput() override;

public:
    /// Returns the path that the stream was created with; empty for streams without a file. The reference is valid for
    /// the stream's life.
    virtual const ioPath& GetFilename() const = 0;

    /// Returns the number of bytes in the stream.
    virtual ioSize GetSize() const = 0;

    /// Returns the offset of the next byte to be read, from 0.
    virtual ioSize GetPosition() const = 0;

    /// Moves to the offset `position`, from 0 up to and including the size. Each class decides what happens beyond the
    /// size: memory and string streams throw IOException with IOException::TagSeek and stay where they were.
    virtual void SetPosition(ioSize position) = 0;
};

}  // namespace Tarsel::Core
