#include "core/fork_guard.h"

#include <pthread.h>

#include "core/call.h"

namespace sarn {

namespace {

bool is_guarding SARN_GUARDED_BY(state_lock) = false;

// The thread that forks inside a change, from the host's logger, holds the lock already.
bool is_taken_for_fork SARN_GUARDED_BY(state_lock) = false;

void hold_state() SARN_UNCHECKED { is_taken_for_fork = state_lock.lock(); }

void give_state_back() SARN_UNCHECKED {
    if (is_taken_for_fork) state_lock.unlock();
}

void start_child() SARN_UNCHECKED {
    // glibc's rwlock knows its writer by the kernel's thread id, which is another one in the child.
    if (is_taken_for_fork) state_lock = StateLock{};
    forget_calls();
}

}  // namespace

void guard_forks() {
    if (!is_guarding) is_guarding = pthread_atfork(hold_state, give_state_back, start_child) == 0;
}

}  // namespace sarn
