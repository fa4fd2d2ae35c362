#ifndef KORA_PAUSE_H
#define KORA_PAUSE_H

#include <errno.h>
#include <time.h>

namespace kora {

// The whole time, also where signals come in between. Leaves errno alone.
inline void pause_for(timespec rest) {
    while (clock_nanosleep(CLOCK_MONOTONIC, 0, &rest, &rest) == EINTR) {
    }
}

}  // namespace kora

#endif
