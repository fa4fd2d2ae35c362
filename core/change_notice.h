// The notice that a user-visible change of a device goes out with, for the agent that watches the store for it.
#ifndef SARN_CORE_CHANGE_NOTICE_H
#define SARN_CORE_CHANGE_NOTICE_H

#include <stdint.h>

#include "core/state.h"

namespace sarn {

// Writes the row to "IndexCD" unless the producer's changes are not announced (producer 10 and negative ids). True when
// written; the caller logs it.
bool announce_device_change(int32_t row, int32_t producer_id) SARN_REQUIRES_SHARED(state_lock);

}  // namespace sarn

#endif
