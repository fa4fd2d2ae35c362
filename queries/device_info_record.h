#ifndef SARN_QUERIES_DEVICE_INFO_RECORD_H
#define SARN_QUERIES_DEVICE_INFO_RECORD_H

#include <stdint.h>

#include "core/state.h"

namespace sarn {

// Fills the record from a row of the store. SARN_OK; SARN_ERR_NOT_READABLE; `unused_row` when no device is there, the
// code by which the queries differ.
int32_t read_device_info(device_info &record, int32_t row, int32_t unused_row) SARN_REQUIRES_SHARED(state_lock);

}  // namespace sarn

#endif
