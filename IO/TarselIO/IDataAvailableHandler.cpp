#include <TarselIO/IDataAvailableHandler.h>

namespace Tarsel::Core
{

IDataAvailableHandler::~IDataAvailableHandler() = default;

}  // namespace Tarsel::Core
