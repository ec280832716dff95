#pragma once

#include <TarselIO/IByteDataOutput.h>
#include <TarselIO/INotifyingByteDataInput.h>

namespace Tarsel::Core
{

/// Carries messages both ways: what one side passes to Write in one call, the other side receives as one message.
///
/// The order of the operations is part of the binary interface.
class TARSEL_EXPORT IDataChannel : public virtual INotifyingByteDataInput,
                                   public virtual IByteDataOutput,
                                   public virtual IRefCountable
{
protected:
    ~IDataChannel() override;

public:
    /// Makes `Cancel` unambiguous. Both bases declare the same function, so it does not matter which one a call means.
    using INotifyingByteDataInput::Cancel;

    /// Reads the length of a message straight from the channel's input. Returns it in bytes, or 0 if there is none.
    virtual ioSize ReadHeader() = 0;
};

}  // namespace Tarsel::Core
