#include <TarselIO/CoreException.h>

namespace Tarsel::Core
{

CoreException::CoreException() = default;
CoreException::~CoreException() noexcept = default;

}  // namespace Tarsel::Core
