#ifndef SARN_IDENTITY_NEW_DEVICE_NOTICE_H
#define SARN_IDENTITY_NEW_DEVICE_NOTICE_H

#include <stdint.h>

#include "core/state.h"

namespace sarn {

// The body of notifyBrixForNdn.
void notify_brix(uint32_t row) SARN_REQUIRES_SHARED(state_lock);

}  // namespace sarn

#endif
