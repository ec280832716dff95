#pragma once

#include <TarselIO/Exception.h>

namespace Tarsel::Core
{

/// Reports a failure of the library that concerns no stream. The name functions (IPCTools.h) throw it.
class TARSEL_EXPORT CoreException : public virtual Exception
{
public:
    /// Makes an exception without records. The code that throws it attaches them.
    CoreException();
    CoreException(const CoreException&) = default;             ///< Keeps the records.
    CoreException& operator=(const CoreException&) = default;  ///< Keeps the records.
    ~CoreException() noexcept override;
};

}  // namespace Tarsel::Core
