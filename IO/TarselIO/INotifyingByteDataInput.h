#pragma once

#include <TarselIO/IByteDataInput.h>
#include <TarselIO/IDataAvailableHandler.h>

namespace Tarsel::Core
{

/// Reads bytes and notifies a handler when a message can be read.
///
/// The order of the operations is part of the binary interface.
class TARSEL_EXPORT INotifyingByteDataInput : public virtual IByteDataInput, public virtual IRefCountable
{
protected:
    ~INotifyingByteDataInput() override;

public:
    /// Installs the handler; null removes it. The handler is called only for messages stored after it was installed. It
    /// is not owned: it must stay alive until it is replaced or the input is destroyed.
    virtual void SetDataAvailableHandler(IDataAvailableHandler* handler) = 0;

    /// Returns whether a received message is waiting to be read.
    virtual bool IsDataAvaliable() const = 0;
};

}  // namespace Tarsel::Core
