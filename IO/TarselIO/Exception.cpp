#include <TarselIO/Exception.h>

namespace Tarsel
{

Exception::Exception() = default;
Exception::~Exception() noexcept = default;

}  // namespace Tarsel
