// A recursive lock with the library's Enter/Leave vocabulary.
#pragma once

#include <mutex>
#include <vxxml/Export.h>

namespace VxXmlLib16 {

class VXXML_API CVXCriticalSection
{
public:
    CVXCriticalSection() = default;
    CVXCriticalSection(const CVXCriticalSection&) = delete;
    CVXCriticalSection& operator=(const CVXCriticalSection&) = delete;
    virtual ~CVXCriticalSection() = default;

    // The thread that holds the lock may enter it again.
    void Enter() { m_mutex.lock(); }
    void Leave() { m_mutex.unlock(); }

    // BasicLockable, so that std::lock_guard and std::scoped_lock work.
    void lock() { Enter(); }
    void unlock() { Leave(); }

private:
    std::recursive_mutex m_mutex;
};

} // namespace VxXmlLib16
