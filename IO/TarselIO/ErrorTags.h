#pragma once

#include <string>

#include <boost/exception/info.hpp>

namespace Tarsel
{

/// Keys of the records that exceptions of the library carry. A handler reads a record with
/// `boost::get_error_info<boost::error_info<TagFilename, std::string>>(e)`, which is null where the throw attached
/// none.
struct TagFilename;         ///< std::string: the path of the file concerned, UTF-8
struct TagDescription;      ///< std::string: the library's message, or the system's where the throwing class says so
struct TagDetails;          ///< std::string: the system's error text
struct TagCallStack;        ///< std::string: the throwing thread's call stack, as GetCallStack() describes it
struct TagSystemErrorCode;  ///< int: the value of errno

/// Short names of the records.
using ErrorFilename = boost::error_info<TagFilename, std::string>;
using ErrorDescription = boost::error_info<TagDescription, std::string>;
using ErrorDetails = boost::error_info<TagDetails, std::string>;
using ErrorCallStack = boost::error_info<TagCallStack, std::string>;
using ErrorSystemErrorCode = boost::error_info<TagSystemErrorCode, int>;

}  // namespace Tarsel
