#include <TarselPointer/IRefCountable.h>

namespace Tarsel
{

IRefCountable::~IRefCountable() = default;

}  // namespace Tarsel
