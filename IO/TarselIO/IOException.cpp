#include <TarselIO/IOException.h>

namespace Tarsel::Core
{

IOException::IOException() = default;
IOException::~IOException() noexcept = default;

}  // namespace Tarsel::Core
