#include <TarselIO/IByteDataOutputEx.h>

namespace Tarsel::Core
{

IByteDataOutputEx::~IByteDataOutputEx() = default;

}  // namespace Tarsel::Core
