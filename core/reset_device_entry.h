#ifndef SARN_CORE_RESET_DEVICE_ENTRY_H
#define SARN_CORE_RESET_DEVICE_ENTRY_H

#include <stdint.h>

#include "core/state.h"

namespace sarn {

// Brings a row back to its reset values in all three device tables and lowers the count of rows in use. The caller
// clears the row's bits (clear_row_bits). SARN_OK, or SARN_ERR_ROW_RANGE and nothing done.
int32_t reset_device_entry(int32_t row) SARN_REQUIRES(state_lock);

}  // namespace sarn

#endif
