#include <TarselException/StackDebugInfo.h>

namespace Tarsel::Core
{
namespace
{

thread_local const StackDebugInfo::Descr* t_innermost = nullptr;

}  // namespace

StackDebugInfo::Descr::Descr(const char* file, const char* function) noexcept
    : m_file(file), m_function(function), m_outer(t_innermost)
{
    t_innermost = this;
}

StackDebugInfo::Descr::~Descr()
{
    t_innermost = m_outer;
}

const StackDebugInfo::Descr* StackDebugInfo::Descr::Innermost() noexcept
{
    return t_innermost;
}

}  // namespace Tarsel::Core
