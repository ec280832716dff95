#include <TarselIO/IByteDataInputProtocol.h>

namespace Tarsel::Core
{

IByteDataInputProtocol::~IByteDataInputProtocol() = default;

}  // namespace Tarsel::Core
