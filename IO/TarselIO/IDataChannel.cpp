#include <TarselIO/IDataChannel.h>

namespace Tarsel::Core
{

IDataChannel::~IDataChannel() = default;

}  // namespace Tarsel::Core
