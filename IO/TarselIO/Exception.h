#pragma once

#include <exception>
#include <type_traits>

#include <boost/exception/info.hpp>

#include <TarselException/GetCallStack.h>
#include <TarselExport/Export.h>
#include <TarselIO/ErrorTags.h>

namespace Tarsel
{

/// The root of the library's exceptions. What went wrong is in the records (ErrorTags.h) and in the throw location, not
/// in `what()`. To print all of it include `<boost/exception/diagnostic_information.hpp>` and call
/// `boost::diagnostic_information(e)`; for a single record `<boost/exception/get_error_info.hpp>` is enough.
///
/// Copies keep the records and share them, without a lock: one thread at a time uses an exception and all its copies,
/// also those behind a std::exception_ptr. To report one on several threads, pass on its text.
class TARSEL_EXPORT Exception : public virtual std::exception, public virtual boost::exception
{
public:
    /// Without records; whoever throws attaches them.
    Exception();
    Exception(const Exception&) = default;             ///< keeps the records
    Exception& operator=(const Exception&) = default;  ///< keeps the records
    ~Exception() noexcept override;
};

/// Attaches the calling thread's call stack to `e` and returns `e` itself, for use inside a throw expression.
template <class E, class = std::enable_if_t<std::is_base_of_v<Exception, E>>>
const E& AddStack(const E& e)
{
    e << ErrorCallStack(GetCallStack());
    return e;
}

}  // namespace Tarsel
