#include <TarselIO/IByteDataInputOutput.h>

namespace Tarsel::Core
{

IByteDataInputOutput::~IByteDataInputOutput() = default;

}  // namespace Tarsel::Core
