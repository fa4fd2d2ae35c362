#ifndef SARN_QUERIES_DEVICE_INFO_RECORD_H
#define SARN_QUERIES_DEVICE_INFO_RECORD_H

#include <stdint.h>

#include "core/state.h"

namespace sarn {

enum class Asked : uint8_t { ForRow, ForDevice };

// Fills the record from a row of the store. SARN_OK; SARN_ERR_NOT_READABLE; when no device is there,
// SARN_ERR_UNUSED_ROW to who asked for a row, SARN_ERR_ROW_LOST_DEVICE to who asked for the device that this process
// knows there.
int32_t read_device_info(device_info &record, int32_t row, Asked asked) SARN_REQUIRES_SHARED(state_lock);

}  // namespace sarn

#endif
