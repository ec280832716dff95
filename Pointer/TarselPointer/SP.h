#pragma once

#include <boost/smart_ptr/intrusive_ptr.hpp>

#include <TarselPointer/IRefCountable.h>

namespace Tarsel
{

/// The smart pointer that holds every object of the library: it takes a reference when it gets an object and drops it
/// when it lets go. `T` derives from IRefCountable. One SP object belongs to one thread at a time; copies may go
/// to other threads.
template <class T>
using SP = boost::intrusive_ptr<T>;

/// Called by SP when it takes a reference; `object` is not null.
inline void intrusive_ptr_add_ref(const IRefCountable* object)
{
    object->AddRef();
}

/// Called by SP when it drops a reference; `object` is not null and may be gone afterwards.
inline void intrusive_ptr_release(const IRefCountable* object)
{
    object->Release();
}

}  // namespace Tarsel
