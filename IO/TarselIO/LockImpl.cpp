#include <TarselIO/LockImpl.h>

namespace Tarsel
{

void LockImpl::Lock_Impl()
{
    m_mutex.lock();
}

bool LockImpl::TryLock_Impl()
{
    return m_mutex.try_lock();
}

void LockImpl::Unlock_Impl()
{
    m_mutex.unlock();
}

}  // namespace Tarsel
