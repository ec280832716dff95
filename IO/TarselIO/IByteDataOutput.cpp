#include <TarselIO/IByteDataOutput.h>

namespace Tarsel::Core
{

IByteDataOutput::~IByteDataOutput() = default;

void IByteDataOutput::Cancel()
{
}

}  // namespace Tarsel::Core
