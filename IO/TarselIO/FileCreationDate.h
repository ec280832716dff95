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

/// Returns when the file at `path` was created, in local time, as UTF-8 text of the pattern "YYYY-MM-dd kk:mm:ss". The
/// text is empty if the date is unknown: there is no such file, or its file system keeps no creation dates.
///
/// The pattern's symbols are those of UTS #35:
/// - "YYYY" is the week-based year, so the days around new year may carry the neighbouring one.
/// - "kk" counts the hours from 01 to 24. The hour after midnight is 24.
///
/// Fractions of a second are cut off. The current locale decides the calendar and the digits. The text has 19
/// characters in most locales, and other lengths where years or digits differ. <TarselFoundation/SystemDateServices.h>
/// describes how locale, time zone and symbolic links are treated.
///
/// Throws nothing except what the path's conversion to text and allocation throw.
///
/// Several threads may call it at once. The calls share nothing, but no thread may change the environment at the same
/// time.
TARSEL_EXPORT std::string GetFileCreationDateString(const ioPath& path);

/// Does the same with other services than the system's, for another kind of platform and for tests. The services are
/// used during the call only. The creation date is requested once. The birth time is requested only if the creation
/// date is the one that represents an unknown date.
///
/// Throws, in addition, what `services` throws.
TARSEL_EXPORT std::string GetFileCreationDateString(const ioPath& path, Foundation::IDateServices& services);

}  // namespace Tarsel::Core
