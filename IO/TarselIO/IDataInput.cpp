#include <TarselIO/IDataInput.h>

namespace Tarsel::Core
{

IDataInput::~IDataInput() = default;

}  // namespace Tarsel::Core
