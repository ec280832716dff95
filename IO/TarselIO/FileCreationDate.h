#pragma once

#include <string>

#include <TarselExport/Export.h>
#include <TarselFilesystem/ioPath.h>

namespace Tarsel::Foundation
{
class IDateServices;
}

namespace Tarsel::Core
{

/// When the file at `path` was created, in local time, as UTF-8 text of the pattern "YYYY-MM-dd kk:mm:ss". Empty when
/// that cannot be found out: no such file, or a file system that keeps no creation dates.
///
/// The pattern's symbols are those of UTS #35. "YYYY" is the week-based year, so the days around new year may carry the
/// neighbouring one; "kk" counts the hours from 01 to 24, and the hour after midnight is 24. Fractions of a second are
/// cut off. Calendar and digits are the current locale's: 19 characters in most, other lengths where years or digits
/// differ. <TarselFoundation/SystemDateServices.h> tells how locale, time zone and symbolic links are treated.
///
/// Threads: calls may run at once and share nothing, while no thread changes the environment. Nothing is thrown except
/// what the path's conversion to text and allocation throw.
TARSEL_EXPORT std::string GetFileCreationDateString(const ioPath& path);

/// The same with other services than the system's, for a platform of its own kind and for tests. What `services`
/// throws passes through. They are used during the call only: the creation date is asked for once, the birth time only
/// when the creation date is the one that stands for an unknown date.
TARSEL_EXPORT std::string GetFileCreationDateString(const ioPath& path, Foundation::IDateServices& services);

}  // namespace Tarsel::Core
