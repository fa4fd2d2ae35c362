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

// Lock order: `opening`, then any reader of the pool, then `writing`. Who holds a reader or `writing` and then finds
// its handle open may use the environment until it gives that back: opening and closing take all of them.
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
bool is_usable();

// Opens the store again when its file was removed or replaced meanwhile; looks at most every few milliseconds.
void look_after_file(const void *handle);

}  // namespace kora

#endif
