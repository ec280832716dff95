#pragma once

#include <memory>
#include <string>

#include <TarselFoundation/IDateFormatter.h>

namespace Tarsel::Foundation
{

/// Creates a formatter by ICU's rules for its default locale, in the C library's local time. Returns null if ICU cannot
/// create it.
std::unique_ptr<IDateFormatter> CreateIcuDateFormatter(const std::string& pattern);

}  // namespace Tarsel::Foundation
