#pragma once

#include <TarselExport/Export.h>
#include <TarselIO/ioSize.h>

namespace Tarsel::Core
{

/// Is told about messages that arrive. Neither reference-counted nor owned by whoever calls it.
class TARSEL_EXPORT IDataAvailableHandler
{
public:
    /// A message of `size` bytes has arrived. Called on the channel's own thread while the channel is locked: return
    /// promptly and call nothing of that channel but Write. If it throws, the message can still be read, and the
    /// channel receives nothing more. It lets boost::thread_interrupted pass, which the release of the channel may
    /// bring about while it waits: swallowed, it would leave the release waiting for good.
    virtual void OnDataAvailable(ioSize size) = 0;

    // After the notification, which is the first slot by contract.
    virtual ~IDataAvailableHandler();
};

}  // namespace Tarsel::Core
