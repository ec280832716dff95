#pragma once

#include <TarselExport/Export.h>
#include <TarselIO/ioSize.h>

namespace Tarsel::Core
{

/// Is notified of messages that arrive. Neither reference-counted nor owned by the channel that calls it.
class TARSEL_EXPORT IDataAvailableHandler
{
public:
    /// A message of `size` bytes has arrived. Called on the channel's own thread while the channel is locked: return
    /// promptly and call nothing of that channel but Write. If it throws, the message can still be read, and the
    /// channel receives nothing more. If it waits while the channel is being destroyed, boost::thread_interrupted may
    /// end the wait; it need not pass that on.
    virtual void OnDataAvailable(ioSize size) = 0;

    // After the notification, which is the first slot by contract.
    virtual ~IDataAvailableHandler();
};

}  // namespace Tarsel::Core
