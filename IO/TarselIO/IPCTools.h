#pragma once

#include <string>

#include <TarselExport/Export.h>

namespace Tarsel::Core
{

/// Returns a new path in the temporary directory that names nothing at this moment: what the system's `tempnam` makes
/// of a random UUID (version 4, RFC 4122) as the prefix, of which some systems keep only the first five characters.
/// Nothing is created, so another process may take the name first: create with mkfifo or O_EXCL, and on a clash ask
/// again. Each call opens the random device "/dev/urandom" once and reads 16 bytes. Safe on several threads at once.
/// Throws CoreException with TagDescription and TagCallStack when the system has no name, and
/// boost::uuids::entropy_error when the random device fails.
TARSEL_EXPORT std::string GenerateTempFileName();

/// The same for the named pipe that two processes agree on.
TARSEL_EXPORT std::string GeneratePipeName();

}  // namespace Tarsel::Core
