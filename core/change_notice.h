// The notice that a user-visible change of a device goes out with, for the agent that watches the store for it.
#ifndef SARN_CORE_CHANGE_NOTICE_H
#define SARN_CORE_CHANGE_NOTICE_H

#include <stdint.h>

#include "core/state.h"

namespace sarn {

// Producer 10 and negative ids change devices quietly.
bool is_change_announced(int32_t producer_id);

// Writes the row to "IndexCD". The caller logs it in its own words.
void announce_device_change(int32_t row) SARN_REQUIRES_SHARED(state_lock);

}  // namespace sarn

#endif
