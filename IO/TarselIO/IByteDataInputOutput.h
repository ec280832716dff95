#pragma once

#include <TarselIO/IByteDataInput.h>
#include <TarselIO/IByteDataOutput.h>

namespace Tarsel::Core
{

/// Both directions in one object. One thread may read while another writes.
/// An implementation overrides the `Cancel` of both bases with one function.
class TARSEL_EXPORT IByteDataInputOutput : public virtual IRefCountable,
                                           public virtual IByteDataInput,
                                           public virtual IByteDataOutput
{
protected:
    ~IByteDataInputOutput() override;

public:
    /// Which of the two equal declarations a call means does not matter; this one keeps it unambiguous.
    using IByteDataInput::Cancel;
};

}  // namespace Tarsel::Core
