// Which handles are open, and the environment that they share.
#ifndef KORA_OPEN_H
#define KORA_OPEN_H

#include <pthread.h>

#include <atomic>

#include "kora_environment.h"

namespace kora {

class Lock {
public:
    explicit Lock(pthread_mutex_t &mutex) : mutex_(mutex) { pthread_mutex_lock(&mutex_); }
    ~Lock() { pthread_mutex_unlock(&mutex_); }
    Lock(const Lock &) = delete;
    Lock &operator=(const Lock &) = delete;

private:
    pthread_mutex_t &mutex_;
};

// Lock order: `opening`, then `writing`, then any reader of the pool; nobody who holds a reader waits for `writing`. A
// save's `saving` comes before a reader and with none of the others; who holds its `noting`, as a fork does after
// `opening`, waits for nothing. A folder's lock comes last: waited for by who opens or closes, and only tried by a
// save, which holds a reader. Who holds a reader or `writing` and then finds its handle open may use the environment
// until it gives that back: opening and closing take all of them, `writing` first, since a writer may wait for one of
// another process that was stopped, and readers may not.
extern pthread_mutex_t writing;
extern Environment environment;

// Each the handle that is open in this place, or 0. A handle is a number that is never used twice, not an address:
// whatever the caller passes is compared, not followed.
inline constexpr uintptr_t HANDLE_MAX = 64;
extern std::atomic<uintptr_t> handles[HANDLE_MAX];

inline bool is_open(const void *handle) {
    const auto number = reinterpret_cast<uintptr_t>(handle);
    return number != 0 && handles[number % HANDLE_MAX].load(std::memory_order_acquire) == number;
}

// After fork the child's first operation opens the store again; false, and logged once, when that fails.
bool make_usable();

// Opens the store again when its file was removed or replaced meanwhile; looks at most every few milliseconds. Waits
// for no writer and no group: while one is at it, the next look opens.
void look_after_file(const void *handle);

}  // namespace kora

#endif
