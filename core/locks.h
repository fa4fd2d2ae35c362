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

// A thread that holds it exclusively does not take it again (one that holds it shared would wait for itself): a store
// function that calls the library in the middle of a rebuild goes on under the lock of the call that it serves. lock()
// and lock_shared() return whether they took it; only then is it given back.
class SARN_THREAD_ANNOTATION(capability("state_lock")) StateLock {
public:
    bool lock() SARN_THREAD_ANNOTATION(acquire_capability()) {
        if (is_held_by_this_thread()) return false;
        (void)take(pthread_rwlock_wrlock);
        hold();
        return true;
    }
    void unlock() SARN_THREAD_ANNOTATION(release_capability()) {
        leave();
        (void)pthread_rwlock_unlock(&rwlock);
    }
    bool lock_shared() SARN_THREAD_ANNOTATION(acquire_shared_capability()) {
        return !is_held_by_this_thread() && take(pthread_rwlock_rdlock) == 0;
    }
    void unlock_shared() SARN_THREAD_ANNOTATION(release_shared_capability()) { (void)pthread_rwlock_unlock(&rwlock); }
    bool is_held_by_this_thread() const { return __atomic_load_n(&holder, __ATOMIC_RELAXED) == pthread_self(); }

    // The holder lends it to a worker that it waits for; pthread_create and pthread_join order what the two see.
    void lend(const void *request) { __atomic_store_n(&lent_for, request, __ATOMIC_RELAXED); }
    void borrow(const void *request) {
        if (__atomic_load_n(&lent_for, __ATOMIC_RELAXED) == request) hold();
    }
    void give_back() {
        if (is_held_by_this_thread()) leave();
    }
    void take_back() {
        lend(nullptr);
        hold();
    }

private:
    // Readers come in a steady stream; a waiting writer goes before new ones.
#ifdef PTHREAD_RWLOCK_WRITER_NONRECURSIVE_INITIALIZER_NP
    int take(int (*acquire)(pthread_rwlock_t *)) { return acquire(&rwlock); }

    pthread_rwlock_t rwlock = PTHREAD_RWLOCK_WRITER_NONRECURSIVE_INITIALIZER_NP;
#else
    // Elsewhere they would overtake it for ever: it waits with `turn` held, which they need first.
    int take(int (*acquire)(pthread_rwlock_t *)) {
        (void)pthread_mutex_lock(&turn);
        const int error = acquire(&rwlock);
        (void)pthread_mutex_unlock(&turn);
        return error;
    }

    pthread_rwlock_t rwlock = PTHREAD_RWLOCK_INITIALIZER;
    pthread_mutex_t turn = PTHREAD_MUTEX_INITIALIZER;
#endif

    void hold() { __atomic_store_n(&holder, pthread_self(), __ATOMIC_RELAXED); }
    void leave() { __atomic_store_n(&holder, pthread_t{}, __ATOMIC_RELAXED); }

    pthread_t holder = {};  // only "is it me?" can be asked of it: any other value may be stale
    const void *lent_for = nullptr;
};

class SARN_THREAD_ANNOTATION(capability("calls_lock")) CallsLock {
public:
    bool lock() SARN_THREAD_ANNOTATION(acquire_capability()) { return pthread_mutex_lock(&mutex) == 0; }
    void unlock() SARN_THREAD_ANNOTATION(release_capability()) { (void)pthread_mutex_unlock(&mutex); }

    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
};

template <typename Lock>
class SARN_THREAD_ANNOTATION(scoped_lockable) Exclusive {
public:
    explicit Exclusive(Lock &lock) SARN_THREAD_ANNOTATION(acquire_capability(lock))
        : lock_(lock), is_taken_(lock.lock()) {}
    ~Exclusive() SARN_THREAD_ANNOTATION(release_capability()) {
        if (is_taken_) lock_.unlock();
    }
    Exclusive(const Exclusive &) = delete;
    Exclusive &operator=(const Exclusive &) = delete;

private:
    Lock &lock_;
    const bool is_taken_;
};

template <typename Lock>
class SARN_THREAD_ANNOTATION(scoped_lockable) Shared {
public:
    explicit Shared(Lock &lock) SARN_THREAD_ANNOTATION(acquire_shared_capability(lock))
        : lock_(lock), is_taken_(lock.lock_shared()) {}
    ~Shared() SARN_THREAD_ANNOTATION(release_generic_capability()) {
        if (is_taken_) lock_.unlock_shared();
    }
    Shared(const Shared &) = delete;
    Shared &operator=(const Shared &) = delete;

private:
    Lock &lock_;
    const bool is_taken_;
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
