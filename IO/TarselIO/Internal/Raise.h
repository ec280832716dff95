#pragma once

#include <cstdint>

#include <boost/throw_exception.hpp>

// GCC 12 does not provide the column.
#if __has_builtin(__builtin_COLUMN)
#define TARSEL_COLUMN __builtin_COLUMN()
#else
#define TARSEL_COLUMN 0
#endif

namespace Tarsel::Core
{

/// Describes where an exception is thrown. It is made from the function's text at the throw itself. The compiler fills
/// in the line and the file, shortened to its path from the repository root. The function's text is written out because
/// compilers spell it differently.
class ThrowSite
{
public:
    constexpr ThrowSite(const char* function,
                        const char* file = __builtin_FILE(),
                        std::uint_least32_t line = __builtin_LINE(),
                        std::uint_least32_t column = TARSEL_COLUMN)
        : m_location(file, line, function, column)
    {
    }

    constexpr const boost::source_location& Location() const { return m_location; }

private:
    boost::source_location m_location;
};

/// Throws `error` from `site`.
template <class E>
[[noreturn]] void Raise(const E& error, ThrowSite site)
{
    boost::throw_exception(error, site.Location());
}

}  // namespace Tarsel::Core
