#pragma once

#include <string>

#include <TarselExport/Export.h>

namespace Tarsel
{

/// Describes the calling thread's call stack: one frame a line, innermost first, then one line for each
/// Core::StackDebugInfo::Descr that is alive on this thread, innermost first. The text is for people; its form may
/// change. Starts no other process.
TARSEL_EXPORT std::string GetCallStack();

}  // namespace Tarsel
