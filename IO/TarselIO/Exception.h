#pragma once

#include <exception>
#include <type_traits>

#include <boost/exception/info.hpp>

#include <TarselException/GetCallStack.h>
#include <TarselExport/Export.h>
#include <TarselIO/ErrorTags.h>

namespace Tarsel
{

/// The root of the library's exceptions. What went wrong is told by the records (ErrorTags.h) and by the throw
/// location, not by `what()`: `boost::diagnostic_information(e)` prints all of it. Copies keep the records.
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
