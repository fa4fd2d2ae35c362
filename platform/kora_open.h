// Which handles are open, and the environment that they share.
#ifndef KORA_OPEN_H
#define KORA_OPEN_H

#include <pthread.h>

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
// its handle open may use the environment until it gives that back: closing takes all of them.
extern pthread_mutex_t writing;
extern Environment environment;

// A handle is a number that is never used twice, not an address: whatever the caller passes is compared, not followed.
bool is_open(const void *handle);

// After fork the child's first operation opens the store again; false, and logged, when that fails.
bool is_usable();

}  // namespace kora

#endif
