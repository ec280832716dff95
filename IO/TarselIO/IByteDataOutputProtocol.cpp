#include <TarselIO/IByteDataOutputProtocol.h>

namespace Tarsel::Core
{

IByteDataOutputProtocol::~IByteDataOutputProtocol() = default;

}  // namespace Tarsel::Core
