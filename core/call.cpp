#include "core/call.h"

#include <pthread.h>

#include "core/locks.h"
#include "include/sarn.h"

#if defined(__GLIBC__) && !defined(__UCLIBC__)
#include <execinfo.h>

static bool is_default_detached() {
    pthread_attr_t usual;
    int state = PTHREAD_CREATE_JOINABLE;
    if (pthread_getattr_default_np(&usual) != 0) return false;
    (void)pthread_attr_getdetachstate(&usual, &state);
    (void)pthread_attr_destroy(&usual);
    return state == PTHREAD_CREATE_DETACHED;
}
#else
// Elsewhere nothing is loaded, and a host cannot set such a default.
static int backtrace(void **, int) { return 0; }
static bool is_default_detached() { return false; }
#endif

namespace sarn {

namespace {

struct Call {
    const void *request;
    int32_t status;
    Call *next;
};

CallsLock calls_lock;
Call *calls SARN_GUARDED_BY(calls_lock) = nullptr;

void link_call(Call &call) {
    const Exclusive hold(calls_lock);
    call.next = calls;
    calls = &call;
}

void unlink_call(const Call &call) {
    const Exclusive hold(calls_lock);
    Call **link = &calls;
    while (*link != &call) link = &(*link)->next;
    *link = call.next;
}

// A host may have set its default so that threads are detached, and then nobody could wait for the worker.
int create_worker(pthread_t &thread, void *(*handler)(void *), void *request) {
    if (!is_default_detached()) return pthread_create(&thread, nullptr, handler, request);
    pthread_attr_t joinable;
    int error = pthread_attr_init(&joinable);
    if (error != 0) return error;
    error = pthread_create(&thread, &joinable, handler, request);
    (void)pthread_attr_destroy(&joinable);
    return error;
}

}  // namespace

// The one public function that loads it where pthread_exit looks, so that not even the loader's lock is taken later.
void load_unwinder() {
    void *frame = nullptr;
    (void)backtrace(&frame, 1);
}

// Another thread of the parent may have held the lock at the fork.
void forget_calls() SARN_UNCHECKED {
    calls_lock = CallsLock{};
    calls = nullptr;
}

WorkerResult run_worker(void *(*handler)(void *), const void *request) {
    Call call = {request, SARN_ERR_THREAD, nullptr};
    link_call(call);
    // True only when a store function calls the library: the worker must not wait for the lock that its caller holds.
    const bool is_lent = state_lock.is_held_by_this_thread();
    if (is_lent) state_lock.lend(request);
    pthread_t thread;
    const int error = create_worker(thread, handler, const_cast<void *>(request));
    if (error == 0) (void)pthread_join(thread, nullptr);
    if (is_lent) state_lock.take_back();
    unlink_call(call);
    return {error, call.status};
}

void leave_status(const void *request, int32_t &cell, int32_t status) {
    const Exclusive hold(calls_lock);
    for (Call *call = calls; call != nullptr; call = call->next) {
        if (call->request == request) call->status = status;
    }
    __atomic_store_n(&cell, status, __ATOMIC_RELAXED);
}

}  // namespace sarn
