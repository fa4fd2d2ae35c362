#ifndef SARN_IDENTITY_NEW_DEVICE_NOTICE_H
#define SARN_IDENTITY_NEW_DEVICE_NOTICE_H

#include <stdint.h>

#include "core/state.h"

namespace sarn {

// The two halves of notifyBrixForNdn: its line in the log, and the notice of a row.
void log_brix_notice();
void write_brix_notice(uint32_t row) SARN_REQUIRES_SHARED(state_lock);

}  // namespace sarn

#endif
