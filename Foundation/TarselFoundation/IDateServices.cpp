#include <TarselFoundation/IDateServices.h>

namespace Tarsel::Foundation
{

IDateServices::~IDateServices() = default;

}  // namespace Tarsel::Foundation
