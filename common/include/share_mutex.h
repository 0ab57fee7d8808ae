#ifndef PELAGO_COMMON_SHARE_MUTEX_H
#define PELAGO_COMMON_SHARE_MUTEX_H

#include <mutex>

#if defined(__clang__)
#define SHARE_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define SHARE_THREAD_ANNOTATION(x)
#endif
#define SHARE_CAPABILITY(x) SHARE_THREAD_ANNOTATION(capability(x))
#define SHARE_SCOPED_CAPABILITY SHARE_THREAD_ANNOTATION(scoped_lockable)
#define SHARE_GUARDED_BY(x) SHARE_THREAD_ANNOTATION(guarded_by(x))
#define SHARE_REQUIRES(...) SHARE_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define SHARE_EXCLUDES(...) SHARE_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
#define SHARE_ACQUIRE(...) SHARE_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define SHARE_RELEASE(...) SHARE_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define SHARE_NO_ANALYSIS SHARE_THREAD_ANNOTATION(no_thread_safety_analysis)

namespace OHOS::Pelago {

// The order of all locks of the service: a thread that holds one may only take one of a greater rank.
// Ranks that are equal are never held together.
enum class LockRank : unsigned char {
    REPLAY,
    DEATH_TRELLIS,
    DEATH_RECEIVE,
    SWING_CACHE,
    PUBLISH,
    SUBSCRIBE,
    TRELLIS_CALLBACKS,
    SHARE_API_CALLBACKS,
    SENDER_ACTION,
    RECEIVE,
    EVENT_SUBSCRIPTION, // whether taps are asked for follows the registrations
    EVENT_CALLBACKS,    // knock and swing registrations
    MOTION_SENDER,
    MOTION_RECEIVER,
    CONNECTION, // the ability connections
    API_CALLBACKS,
    MERGE_DEVICES,
    DEVICES, // all devices, sending devices
    OOBE_HELPERS,
    LEAF, // held for a few instructions, or across platform calls that never come back in
};

// What both kinds of mutex report to the checker. Builds with PELAGO_CHECKS abort, naming both locks, when a thread
// takes a lock out of order or a plain lock twice; other builds compile the calls away.
class LockOrder {
public:
    static void Taking(const void* lock, const char* name, LockRank rank, bool recursive);
    static void Released(const void* lock);
};

// A plain mutex with a name and a place in the lock order. Constant-initialised, so that statics may own one.
class SHARE_CAPABILITY("mutex") Mutex {
public:
    constexpr Mutex(const char* name, LockRank rank) : name_(name), rank_(rank)
    {}
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void lock() SHARE_ACQUIRE()
    {
#ifdef PELAGO_CHECKS
        LockOrder::Taking(this, name_, rank_, false);
#endif
        mutex_.lock();
    }
    void unlock() SHARE_RELEASE()
    {
        mutex_.unlock();
#ifdef PELAGO_CHECKS
        LockOrder::Released(this);
#endif
    }

private:
    std::mutex mutex_;
    [[maybe_unused]] const char* name_;
    [[maybe_unused]] LockRank rank_;
};

// The same for a mutex that its owner may take again. Exempt from static analysis, which knows no recursion.
class RecursiveMutex {
public:
    RecursiveMutex(const char* name, LockRank rank) : name_(name), rank_(rank)
    {}
    RecursiveMutex(const RecursiveMutex&) = delete;
    RecursiveMutex& operator=(const RecursiveMutex&) = delete;

    void lock()
    {
#ifdef PELAGO_CHECKS
        LockOrder::Taking(this, name_, rank_, true);
#endif
        mutex_.lock();
    }
    void unlock()
    {
        mutex_.unlock();
#ifdef PELAGO_CHECKS
        LockOrder::Released(this);
#endif
    }

private:
    std::recursive_mutex mutex_;
    [[maybe_unused]] const char* name_;
    [[maybe_unused]] LockRank rank_;
};

// Holds a Mutex for a scope.
class SHARE_SCOPED_CAPABILITY MutexLock {
public:
    explicit MutexLock(Mutex& mutex) SHARE_ACQUIRE(mutex) : mutex_(mutex)
    {
        mutex_.lock();
    }
    ~MutexLock() SHARE_RELEASE()
    {
        mutex_.unlock();
    }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

private:
    Mutex& mutex_;
};

// Holds a RecursiveMutex for a scope.
using RecursiveLock = std::lock_guard<RecursiveMutex>;

} // namespace OHOS::Pelago

#endif // PELAGO_COMMON_SHARE_MUTEX_H
