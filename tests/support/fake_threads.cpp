#include <pthread.h>
#include <stdint.h>

#include "support/fake_store.h"

namespace fake {

void fail_threads(bool fail) {
    // A stack for which no machine has addresses: pthread_create answers with an error.
    static const size_t usual = [] {
        pthread_attr_t attributes;
        size_t size = 0;
        pthread_getattr_default_np(&attributes);
        pthread_attr_getstacksize(&attributes, &size);
        return size;
    }();
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, fail ? SIZE_MAX / 4 : usual);
    pthread_setattr_default_np(&attributes);
}

}  // namespace fake
