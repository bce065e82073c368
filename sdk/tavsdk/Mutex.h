#pragma once

#include <mutex>

// What clang's thread-safety analysis reads (-Wthread-safety); other compilers see nothing of it. Attributes whose
// argument is a member can be written in no other way than by macros: these are all that there are.
#if defined(__clang__)
#define TAVSDK_THREAD_SAFETY(i_attribute) __attribute__((i_attribute))
#else
#define TAVSDK_THREAD_SAFETY(i_attribute)
#endif

/// Behind a variable: it is read and written with the mutex held only.
#define TAVSDK_GUARDED_BY(i_mutex) TAVSDK_THREAD_SAFETY(guarded_by(i_mutex))
/// Behind a function: who calls it holds the mutex.
#define TAVSDK_REQUIRES(i_mutex) TAVSDK_THREAD_SAFETY(requires_capability(i_mutex))

namespace TavSDK {

/// A std::mutex that the compiler knows: it then checks that what the mutex guards is touched with it held.
///
///     TavSDK::Mutex _mutex; ///< guards _news
///     std::vector<News> _news TAVSDK_GUARDED_BY(_mutex);
///
/// Thread: any.
class TAVSDK_THREAD_SAFETY(capability("mutex")) Mutex
{
private:
    friend class MutexLock;
    std::mutex _mutex;
};

/// Holds a mutex for as long as it lives, except between unlock and lock, whose names are those that the standard
/// library's waits ask for: wait by std::condition_variable_any, in a loop, because a predicate would be a function of
/// its own that the compiler does not see holding the mutex.
///
/// Thread: one.
class TAVSDK_THREAD_SAFETY(scoped_lockable) MutexLock
{
public:
    explicit MutexLock(Mutex& io_mutex) TAVSDK_THREAD_SAFETY(acquire_capability(io_mutex))
        : _lock(io_mutex._mutex)
    {}
    ~MutexLock() TAVSDK_THREAD_SAFETY(release_capability()) {}
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

    void lock() TAVSDK_THREAD_SAFETY(acquire_capability()) { _lock.lock(); }
    void unlock() TAVSDK_THREAD_SAFETY(release_capability()) { _lock.unlock(); }

private:
    std::unique_lock<std::mutex> _lock;
};

} // namespace TavSDK
