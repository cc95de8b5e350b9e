/**
 * @file
 * Holding a lock for a scope.
 */
#pragma once

#include <QMutex>

#if defined(__SANITIZE_THREAD__)
#include <sanitizer/tsan_interface.h>
#endif

namespace orn {

/**
 * Holds a QMutex while it lives. Unlike QMutexLocker it is seen by race detectors: Qt is not built for them, so that
 * without a word from here every access under such a mutex would count as a race, or would have to be left unjudged.
 */
class MutexLock {
public:
    explicit MutexLock(QMutex& mutex) : m_mutex(mutex)
    {
        m_mutex.lock();
#if defined(__SANITIZE_THREAD__)
        __tsan_acquire(&m_mutex);
#endif
    }
    ~MutexLock()
    {
#if defined(__SANITIZE_THREAD__)
        __tsan_release(&m_mutex);
#endif
        m_mutex.unlock();
    }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

private:
    QMutex& m_mutex;
};

}  // namespace orn
