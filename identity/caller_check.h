#ifndef SARN_IDENTITY_CALLER_CHECK_H
#define SARN_IDENTITY_CALLER_CHECK_H

#include <stdint.h>

#include "core/state.h"

namespace sarn {

// What the workers of detail and display check first: is the library ready, is the producer known? SARN_OK,
// SARN_ERR_NOT_INITIALISED or SARN_ERR_PRODUCER, logged in their words.
int32_t check_identity_caller(int32_t producer_id) SARN_EXCLUDES(state_lock);

}  // namespace sarn

#endif
