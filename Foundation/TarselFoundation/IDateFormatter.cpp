#include <TarselFoundation/IDateFormatter.h>

namespace Tarsel::Foundation
{

IDateFormatter::~IDateFormatter() = default;

}  // namespace Tarsel::Foundation
