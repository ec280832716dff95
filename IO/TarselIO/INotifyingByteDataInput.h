#pragma once

#include <TarselIO/IByteDataInput.h>
#include <TarselIO/IDataAvailableHandler.h>

namespace Tarsel::Core
{

/// A byte input that tells a handler when something can be read. The order of the operations is binary interface.
class TARSEL_EXPORT INotifyingByteDataInput : public virtual IByteDataInput, public virtual IRefCountable
{
protected:
    ~INotifyingByteDataInput() override;

public:
    /// Installs the handler that hears of messages from now on; null removes it. The handler is not owned: it stays
    /// alive until it is replaced or the input is gone.
    virtual void SetDataAvailableHandler(IDataAvailableHandler* handler) = 0;

    /// Returns whether a received message is waiting to be read.
    virtual bool IsDataAvaliable() const = 0;
};

}  // namespace Tarsel::Core
