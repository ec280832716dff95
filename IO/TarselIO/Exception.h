#pragma once

#include <exception>
#include <type_traits>

#include <boost/exception/info.hpp>

#include <TarselException/GetCallStack.h>
#include <TarselExport/Export.h>
#include <TarselIO/ErrorTags.h>

namespace Tarsel
{

/// Serves as the root of the library's exceptions. `what()` returns no useful text. Read the records attached to the
/// exception (ErrorTags.h) and its throw location instead. To print all of it, include
/// `<boost/exception/diagnostic_information.hpp>` and call `boost::diagnostic_information(e)`. For a single record,
/// `<boost/exception/get_error_info.hpp>` is enough.
///
/// Copies keep the records and share them, without a lock. One thread at a time uses an exception and all its copies,
/// also those behind a std::exception_ptr. To report one on several threads, pass on its text.
class TARSEL_EXPORT Exception : public virtual std::exception, public virtual boost::exception
{
public:
    /// Makes an exception without records. The code that throws it attaches them.
    Exception();
    Exception(const Exception&) = default;             ///< Keeps the records.
    Exception& operator=(const Exception&) = default;  ///< Keeps the records.
    ~Exception() noexcept override;
};

/// Attaches the calling thread's call stack to `e`. Returns `e` itself, for use inside a throw expression.
template <class E, class = std::enable_if_t<std::is_base_of_v<Exception, E>>>
const E& AddStack(const E& e)
{
    e << ErrorCallStack(GetCallStack());
    return e;
}

}  // namespace Tarsel
