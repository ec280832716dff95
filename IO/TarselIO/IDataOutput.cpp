#include <TarselIO/IDataOutput.h>

namespace Tarsel::Core
{

IDataOutput::~IDataOutput() = default;

}  // namespace Tarsel::Core
