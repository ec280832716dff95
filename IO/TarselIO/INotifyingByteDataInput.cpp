#include <TarselIO/INotifyingByteDataInput.h>

namespace Tarsel::Core
{

INotifyingByteDataInput::~INotifyingByteDataInput() = default;

}  // namespace Tarsel::Core
