#pragma once

#include <TarselIO/CoreException.h>
#include <TarselIO/ioSize.h>

namespace Tarsel::Core
{

/// Reports a failed operation of a stream. The operation that throws documents which records the exception carries.
class TARSEL_EXPORT IOException : public virtual CoreException
{
public:
    struct TagSeek;

    /// Makes an exception without records. The code that throws it attaches them.
    IOException();
    IOException(const IOException&) = default;             ///< Keeps the records.
    IOException& operator=(const IOException&) = default;  ///< Keeps the records.
    ~IOException() noexcept override;
};

/// Holds the position that SetPosition was asked for, under the key IOException::TagSeek.
using ErrorSeek = boost::error_info<IOException::TagSeek, ioSize>;

}  // namespace Tarsel::Core
