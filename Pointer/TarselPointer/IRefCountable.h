#pragma once

#include <TarselExport/Export.h>

namespace Tarsel
{

/// Counts the references to an object, which lives until the last of them is dropped. Hold the object through SP, which
/// does the counting. Nobody calls `delete`, so the destructor is protected.
///
/// Several threads may call the operations at once.
///
/// The order of the operations is part of the binary interface.
class TARSEL_EXPORT IRefCountable
{
protected:
    virtual ~IRefCountable();

public:
    /// Adds one reference and returns the new count.
    virtual int AddRef() const = 0;

    /// Returns the count at this moment. Other threads may change it before the caller looks at the result.
    virtual int GetRefCount() const = 0;

    /// Removes one reference and returns how many remain. At 0 the object has been destroyed.
    virtual int Release() const = 0;
};

}  // namespace Tarsel
