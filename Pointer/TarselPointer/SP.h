#pragma once

#include <boost/smart_ptr/intrusive_ptr.hpp>

#include <TarselPointer/IRefCountable.h>

namespace Tarsel
{

/// Holds an object of the library by one reference. SP takes the reference when it receives the object, and drops it
/// when it is destroyed or receives another object. `T` derives from IRefCountable.
///
/// One thread at a time uses an SP object. Copies of it may go to other threads.
template <class T>
using SP = boost::intrusive_ptr<T>;

/// Adds the reference that an SP takes. SP calls it; `object` is not null.
inline void intrusive_ptr_add_ref(const IRefCountable* object)
{
    object->AddRef();
}

/// Removes the reference that an SP drops. SP calls it; `object` is not null and may be destroyed by the call.
inline void intrusive_ptr_release(const IRefCountable* object)
{
    object->Release();
}

}  // namespace Tarsel
