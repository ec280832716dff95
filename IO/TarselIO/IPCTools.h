#pragma once

#include <string>

#include <TarselExport/Export.h>

namespace Tarsel::Core
{

/// Returns a new path in the temporary directory that names nothing at this moment. The path is what the system's
/// `tempnam` makes of a random UUID (version 4, RFC 4122) as the prefix. Some systems keep only the first five
/// characters of the prefix. Each call opens the random device "/dev/urandom" once and reads 16 bytes.
///
/// Nothing is created, so another process may take the name first. Create the file with mkfifo or O_EXCL, and if the
/// name is taken, ask for another one.
///
/// Throws CoreException with TagDescription and TagCallStack if the system has no name, and boost::uuids::entropy_error
/// if the random device fails.
///
/// Several threads may call it at once.
TARSEL_EXPORT std::string GenerateTempFileName();

/// Returns a new path in the same way, for the named pipe (FIFO) that two processes agree on.
TARSEL_EXPORT std::string GeneratePipeName();

}  // namespace Tarsel::Core
