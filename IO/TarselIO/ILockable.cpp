#include <TarselIO/ILockable.h>

namespace Tarsel
{

ILockable::~ILockable() = default;

}  // namespace Tarsel
