#pragma once

#include <TarselExport/Export.h>

namespace Tarsel::Core
{

/// Notes that running code leaves about itself for those who read a call stack.
class StackDebugInfo
{
public:
    /// A scoped marker: while it is alive, GetCallStack on the same thread mentions it. Markers nest like the scopes
    /// that hold them; each lives and dies on one thread. Making one allocates nothing.
    class TARSEL_EXPORT Descr
    {
    public:
        /// Both texts have static lifetime and are not copied: the source file's path and a function's name.
        Descr(const char* file, const char* function) noexcept;
        ~Descr();
        Descr(const Descr&) = delete;
        Descr& operator=(const Descr&) = delete;

        const char* File() const noexcept { return m_file; }          ///< the first text
        const char* Function() const noexcept { return m_function; }  ///< the second text

        /// The marker around this one on the same thread, or null.
        const Descr* Outer() const noexcept { return m_outer; }

        /// The calling thread's latest marker that is still alive, or null.
        static const Descr* Innermost() noexcept;

    private:
        const char* m_file;
        const char* m_function;
        const Descr* m_outer;
    };
};

}  // namespace Tarsel::Core
