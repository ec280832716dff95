#pragma once

#include <TarselExport/Export.h>

namespace Tarsel
{

/// An object that lives as long as somebody holds a reference to it.
/// Hold it through SP, which counts by itself; nobody calls `delete`, so the destructor is protected.
/// The operations may run on several threads at once. Their order is binary interface.
class TARSEL_EXPORT IRefCountable
{
protected:
    virtual ~IRefCountable();

public:
    /// Adds one reference and returns the new count.
    virtual int AddRef() const = 0;

    /// Returns the count at this moment; other threads may change it before the caller looks at it.
    virtual int GetRefCount() const = 0;

    /// Removes one reference and returns how many remain. At 0 the object has been destroyed.
    virtual int Release() const = 0;
};

}  // namespace Tarsel
