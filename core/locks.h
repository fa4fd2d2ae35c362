// The library's two locks, and annotations with which clang proves that each guarded variable is used under its lock.
// Which lock guards what, and their order, is told in docs/concurrency.md.
#ifndef SARN_CORE_LOCKS_H
#define SARN_CORE_LOCKS_H

#include <pthread.h>

#if defined(__clang__)
#define SARN_THREAD_ANNOTATION(...) __attribute__((__VA_ARGS__))
#else
#define SARN_THREAD_ANNOTATION(...)
#endif

#define SARN_GUARDED_BY(lock) SARN_THREAD_ANNOTATION(guarded_by(lock))
#define SARN_REQUIRES(lock) SARN_THREAD_ANNOTATION(requires_capability(lock))
#define SARN_REQUIRES_SHARED(lock) SARN_THREAD_ANNOTATION(requires_shared_capability(lock))
#define SARN_UNCHECKED SARN_THREAD_ANNOTATION(no_thread_safety_analysis)
#define SARN_EXCLUDES(lock) SARN_THREAD_ANNOTATION(locks_excluded(lock))

namespace sarn {

class SARN_THREAD_ANNOTATION(capability("state_lock")) StateLock {
public:
    void lock() SARN_THREAD_ANNOTATION(acquire_capability()) { (void)pthread_rwlock_wrlock(&rwlock); }
    void unlock() SARN_THREAD_ANNOTATION(release_capability()) { (void)pthread_rwlock_unlock(&rwlock); }
    // False when this thread holds it exclusively already.
    bool lock_unless_held() SARN_UNCHECKED { return pthread_rwlock_wrlock(&rwlock) == 0; }
    void lock_shared() SARN_THREAD_ANNOTATION(acquire_shared_capability()) { (void)pthread_rwlock_rdlock(&rwlock); }
    void unlock_shared() SARN_THREAD_ANNOTATION(release_shared_capability()) { (void)pthread_rwlock_unlock(&rwlock); }

    // Readers come in a steady stream; a waiting writer goes before new ones.
    pthread_rwlock_t rwlock = PTHREAD_RWLOCK_WRITER_NONRECURSIVE_INITIALIZER_NP;
};

class SARN_THREAD_ANNOTATION(capability("calls_lock")) CallsLock {
public:
    void lock() SARN_THREAD_ANNOTATION(acquire_capability()) { (void)pthread_mutex_lock(&mutex); }
    void unlock() SARN_THREAD_ANNOTATION(release_capability()) { (void)pthread_mutex_unlock(&mutex); }

    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
};

template <typename Lock>
class SARN_THREAD_ANNOTATION(scoped_lockable) Exclusive {
public:
    explicit Exclusive(Lock &lock) SARN_THREAD_ANNOTATION(acquire_capability(lock)) : lock_(lock) { lock_.lock(); }
    ~Exclusive() SARN_THREAD_ANNOTATION(release_capability()) { lock_.unlock(); }
    Exclusive(const Exclusive &) = delete;
    Exclusive &operator=(const Exclusive &) = delete;

private:
    Lock &lock_;
};

template <typename Lock>
class SARN_THREAD_ANNOTATION(scoped_lockable) Shared {
public:
    explicit Shared(Lock &lock) SARN_THREAD_ANNOTATION(acquire_shared_capability(lock)) : lock_(lock) {
        lock_.lock_shared();
    }
    ~Shared() SARN_THREAD_ANNOTATION(release_generic_capability()) { lock_.unlock_shared(); }
    Shared(const Shared &) = delete;
    Shared &operator=(const Shared &) = delete;

private:
    Lock &lock_;
};

// The exported mutexes are plain C objects that the host sees; this guards a scope with one of them.
class ExportedMutex {
public:
    explicit ExportedMutex(pthread_mutex_t &mutex) : mutex_(mutex) { (void)pthread_mutex_lock(&mutex_); }
    ~ExportedMutex() { (void)pthread_mutex_unlock(&mutex_); }
    ExportedMutex(const ExportedMutex &) = delete;
    ExportedMutex &operator=(const ExportedMutex &) = delete;

private:
    pthread_mutex_t &mutex_;
};

}  // namespace sarn

#endif
