#pragma once

#include <TarselExport/Export.h>

namespace Tarsel::Core
{

/// Contains the markers by which running code adds lines of its own to a call stack.
class StackDebugInfo
{
public:
    /// Marks a scope: while the marker is alive, GetCallStack on the same thread mentions it. Markers nest like the
    /// scopes that hold them. A marker is created and destroyed on the same thread. Creating one allocates nothing.
    class TARSEL_EXPORT Descr
    {
    public:
        /// Takes the path of the source file and the name of a function. Both texts have static lifetime and are not
        /// copied.
        Descr(const char* file, const char* function) noexcept;
        ~Descr();
        Descr(const Descr&) = delete;
        Descr& operator=(const Descr&) = delete;

        const char* File() const noexcept { return m_file; }          ///< Returns the path of the source file.
        const char* Function() const noexcept { return m_function; }  ///< Returns the name of the function.

        /// Returns the marker around this one on the same thread, or null.
        const Descr* Outer() const noexcept { return m_outer; }

        /// Returns the latest marker of the calling thread that is still alive, or null.
        static const Descr* Innermost() noexcept;

    private:
        const char* m_file;
        const char* m_function;
        const Descr* m_outer;
    };
};

}  // namespace Tarsel::Core
