#include <TarselIO/IByteDataInput.h>

namespace Tarsel::Core
{

IByteDataInput::~IByteDataInput() = default;

void IByteDataInput::Cancel()
{
}

}  // namespace Tarsel::Core
