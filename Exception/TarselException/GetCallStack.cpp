#include <TarselException/GetCallStack.h>

#include <boost/stacktrace.hpp>

#include <TarselException/StackDebugInfo.h>

namespace Tarsel
{

std::string GetCallStack()
{
    // The first frame would be this function itself, which does not help the reader.
    std::string text = boost::stacktrace::to_string(boost::stacktrace::stacktrace(1, static_cast<std::size_t>(-1)));
    for (const Core::StackDebugInfo::Descr* marker = Core::StackDebugInfo::Descr::Innermost(); marker != nullptr;
         marker = marker->Outer())
    {
        text.append("in ").append(marker->Function()).append(" (").append(marker->File()).append(")\n");
    }
    return text;
}

}  // namespace Tarsel
