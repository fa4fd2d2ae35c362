#ifndef SARN_WRITERS_REPORTER_CHECK_H
#define SARN_WRITERS_REPORTER_CHECK_H

#include <stdint.h>

#include "core/state.h"

namespace sarn {

// What a reporting worker checks first: is the library ready, is the producer known? SARN_OK, SARN_ERR_NOT_INITIALISED
// or SARN_ERR_PRODUCER, logged in the words of the reports.
int32_t check_reporter(int32_t producer_id) SARN_EXCLUDES(state_lock);

}  // namespace sarn

#endif
