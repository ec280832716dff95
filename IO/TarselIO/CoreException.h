#pragma once

#include <TarselIO/Exception.h>

namespace Tarsel::Core
{

/// A failure of the library that concerns no stream: thrown by the name functions (IPCTools.h).
class TARSEL_EXPORT CoreException : public virtual Exception
{
public:
    /// Without records; whoever throws attaches them.
    CoreException();
    CoreException(const CoreException&) = default;             ///< keeps the records
    CoreException& operator=(const CoreException&) = default;  ///< keeps the records
    ~CoreException() noexcept override;
};

}  // namespace Tarsel::Core
