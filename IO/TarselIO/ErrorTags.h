#pragma once

#include <string>

#include <boost/exception/info.hpp>

namespace Tarsel
{

/// \name Keys of the records that exceptions carry
/// A handler reads a record with `boost::get_error_info<ErrorFilename>(e)`, which is null where the throw attached
/// none.
/// @{
struct TagFilename;         ///< std::string: the path of the file concerned, UTF-8
struct TagDescription;      ///< std::string: the library's message, or the system's where the throwing class says so
struct TagDetails;          ///< std::string: the system's error text
struct TagCallStack;        ///< std::string: the throwing thread's call stack, as GetCallStack() describes it
struct TagSystemErrorCode;  ///< int: the value of errno
/// @}

/// \name Short names of the records
/// @{
using ErrorFilename = boost::error_info<TagFilename, std::string>;        ///< the record of TagFilename
using ErrorDescription = boost::error_info<TagDescription, std::string>;  ///< the record of TagDescription
using ErrorDetails = boost::error_info<TagDetails, std::string>;          ///< the record of TagDetails
using ErrorCallStack = boost::error_info<TagCallStack, std::string>;      ///< the record of TagCallStack
using ErrorSystemErrorCode = boost::error_info<TagSystemErrorCode, int>;  ///< the record of TagSystemErrorCode
/// @}

}  // namespace Tarsel
