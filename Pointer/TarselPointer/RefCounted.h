#pragma once

#include <TarselPointer/IRefCountable.h>
#include <TarselPointer/RefCountImpl.h>

namespace Tarsel
{

/// Implements the reference counting of `Interface`, which derives from IRefCountable, for header-only classes and
/// classes of programs. Derive from it, as in `class MyInput : public RefCounted<IByteDataInput>`. Create the objects
/// with `new` and hold them through SP.
template <class Interface>
class RefCounted : public virtual Interface
{
public:
    /// Adds one reference and returns the new count.
    int AddRef() const override { return m_refCount.AddRefImpl(); }

    /// Returns the count at this moment.
    int GetRefCount() const override { return m_refCount.GetRefCountImpl(); }

    /// Removes one reference and returns how many remain. At 0 the object has been destroyed.
    int Release() const override
    {
        const int remaining = m_refCount.ReleaseImpl();
        if (remaining == 0)
        {
            delete this;
        }
        return remaining;
    }

protected:
    ~RefCounted() override = default;

private:
    RefCountImpl m_refCount;
};

}  // namespace Tarsel
