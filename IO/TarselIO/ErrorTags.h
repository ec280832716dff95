#pragma once

#include <string>

#include <boost/exception/info.hpp>

namespace Tarsel
{

struct TagFilename;
struct TagDescription;
struct TagDetails;
struct TagCallStack;
struct TagSystemErrorCode;

/// \name Records that exceptions carry
/// A catch block reads a record by its short name, `boost::get_error_info<ErrorFilename>(e)`, which is null where the
/// throw attached none. That takes `#include <boost/exception/get_error_info.hpp>`, which this header leaves out. The
/// comments of the classes name records by their keys, such as TagFilename.
/// @{

/// The path of the file concerned, UTF-8.
using ErrorFilename = boost::error_info<TagFilename, std::string>;

/// The library's message, or the system's where the throwing class says so.
using ErrorDescription = boost::error_info<TagDescription, std::string>;

/// The system's error text.
using ErrorDetails = boost::error_info<TagDetails, std::string>;

/// The throwing thread's call stack, as GetCallStack() describes it.
using ErrorCallStack = boost::error_info<TagCallStack, std::string>;

/// The value of errno.
using ErrorSystemErrorCode = boost::error_info<TagSystemErrorCode, int>;

/// @}

}  // namespace Tarsel
