#pragma once

#include <TarselExport/Export.h>
#include <TarselIO/ioSize.h>

namespace Tarsel::Core
{

/// Receives a call for each message that arrives. A handler is not reference-counted, and the channel that calls it
/// does not own it.
class TARSEL_EXPORT IDataAvailableHandler
{
public:
    /// Handles the arrival of a message of `size` bytes. The channel calls it on its own thread while the channel is
    /// locked: return promptly, and call nothing of that channel but Write.
    ///
    /// If it throws, the message can still be read, and the channel receives nothing more. If it waits while the
    /// channel is being destroyed, boost::thread_interrupted may end the wait. The handler need not pass that exception
    /// on.
    virtual void OnDataAvailable(ioSize size) = 0;

    // Declared after the notification, which is the first slot by contract.
    virtual ~IDataAvailableHandler();
};

}  // namespace Tarsel::Core
