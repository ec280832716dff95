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
/// A catch block reads a record by its short name: `boost::get_error_info<ErrorFilename>(e)` returns null if the throw
/// attached none. This needs `#include <boost/exception/get_error_info.hpp>`, which this header leaves out. The
/// comments of the classes name records by their keys, such as TagFilename.
/// @{

/// Holds the path of the file concerned, as UTF-8 text.
using ErrorFilename = boost::error_info<TagFilename, std::string>;

/// Holds the library's message, or the system's error text if the throwing class documents that.
using ErrorDescription = boost::error_info<TagDescription, std::string>;

/// Holds the system's error text.
using ErrorDetails = boost::error_info<TagDetails, std::string>;

/// Holds the throwing thread's call stack, as GetCallStack() describes it.
using ErrorCallStack = boost::error_info<TagCallStack, std::string>;

/// Holds the value of errno.
using ErrorSystemErrorCode = boost::error_info<TagSystemErrorCode, int>;

/// @}

}  // namespace Tarsel
