#include <TarselIO/IByteDataInputEx.h>

namespace Tarsel::Core
{

IByteDataInputEx::~IByteDataInputEx() = default;

}  // namespace Tarsel::Core
