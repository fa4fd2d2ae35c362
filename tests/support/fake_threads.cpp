#include <pthread.h>

#include "support/fake_store.h"

namespace fake {

namespace {

constexpr size_t USUAL_STACK = 8 << 20;

void set_default(size_t stack, int detach_state) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, stack);
    pthread_attr_setdetachstate(&attributes, detach_state);
    pthread_setattr_default_np(&attributes);
}

}  // namespace

// A stack for which no machine has addresses: pthread_create answers with an error.
void fail_threads(bool fail) { set_default(fail ? SIZE_MAX - SIZE_MAX / 8 : USUAL_STACK, PTHREAD_CREATE_JOINABLE); }

void detach_threads(bool detach) {
    set_default(USUAL_STACK, detach ? PTHREAD_CREATE_DETACHED : PTHREAD_CREATE_JOINABLE);
}

}  // namespace fake
