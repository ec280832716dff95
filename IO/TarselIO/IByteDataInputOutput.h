#pragma once

#include <TarselIO/IByteDataInput.h>
#include <TarselIO/IByteDataOutput.h>

namespace Tarsel::Core
{

/// Reads and writes bytes through one object.
///
/// One thread may read while another writes.
///
/// An implementation overrides the `Cancel` of both bases with one function.
class TARSEL_EXPORT IByteDataInputOutput : public virtual IRefCountable,
                                           public virtual IByteDataInput,
                                           public virtual IByteDataOutput
{
protected:
    ~IByteDataInputOutput() override;

public:
    /// Makes `Cancel` unambiguous. Both bases declare the same function, so it does not matter which one a call means.
    using IByteDataInput::Cancel;
};

}  // namespace Tarsel::Core
