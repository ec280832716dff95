#pragma once

#include <TarselIO/IByteDataOutput.h>
#include <TarselIO/INotifyingByteDataInput.h>

namespace Tarsel::Core
{

/// A two-way channel of messages: what one side hands to Write in one call, the other side receives as one message.
/// The order of the operations is binary interface.
class TARSEL_EXPORT IDataChannel : public virtual INotifyingByteDataInput,
                                   public virtual IByteDataOutput,
                                   public virtual IRefCountable
{
protected:
    ~IDataChannel() override;

public:
    /// Which of the two equal declarations a call means does not matter; this one keeps it unambiguous.
    using INotifyingByteDataInput::Cancel;

    /// Reads the length in bytes that precedes a message straight from the channel's input; 0 when there is none.
    virtual ioSize ReadHeader() = 0;
};

}  // namespace Tarsel::Core
