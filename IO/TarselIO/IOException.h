#pragma once

#include <TarselIO/CoreException.h>
#include <TarselIO/ioSize.h>

namespace Tarsel::Core
{

/// A failed operation of a stream. Which records it carries is told where it is thrown.
class TARSEL_EXPORT IOException : public virtual CoreException
{
public:
    struct TagSeek;

    /// Without records; whoever throws attaches them.
    IOException();
    IOException(const IOException&) = default;             ///< keeps the records
    IOException& operator=(const IOException&) = default;  ///< keeps the records
    ~IOException() noexcept override;
};

/// The record of IOException::TagSeek: the position that SetPosition was asked for.
using ErrorSeek = boost::error_info<IOException::TagSeek, ioSize>;

}  // namespace Tarsel::Core
