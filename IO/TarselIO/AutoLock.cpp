#include <TarselIO/AutoLock.h>

namespace Tarsel
{

AutoLock::AutoLock(ILockable* lockable) : m_lockable(lockable)
{
    if (m_lockable != nullptr)
    {
        m_lockable->Lock();
    }
}

AutoLock::~AutoLock() noexcept
{
    if (m_lockable != nullptr)
    {
        m_lockable->Unlock();
    }
}

}  // namespace Tarsel
