#include <pthread.h>
#include <stdint.h>

#include "support/fake_store.h"

namespace fake {

void fail_threads(bool fail) {
    constexpr size_t USUAL = 8 << 20;
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    // A stack for which no machine has addresses: pthread_create answers with an error.
    pthread_attr_setstacksize(&attributes, fail ? SIZE_MAX - SIZE_MAX / 8 : USUAL);
    pthread_setattr_default_np(&attributes);
}

void detach_threads(bool detach) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setdetachstate(&attributes, detach ? PTHREAD_CREATE_DETACHED : PTHREAD_CREATE_JOINABLE);
    pthread_setattr_default_np(&attributes);
}

}  // namespace fake
