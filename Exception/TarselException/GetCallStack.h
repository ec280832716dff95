#pragma once

#include <string>

#include <TarselExport/Export.h>

namespace Tarsel
{

/// Describes the call stack of the calling thread. It starts no other process.
///
/// Returns one line per frame, innermost first, then one line for each Core::StackDebugInfo::Descr that is alive on
/// this thread, innermost first. The text is for people; its form may change.
TARSEL_EXPORT std::string GetCallStack();

}  // namespace Tarsel
