#ifndef SARN_CORE_RESET_DEVICE_ENTRY_H
#define SARN_CORE_RESET_DEVICE_ENTRY_H

#include <stdint.h>

#include "core/state.h"

namespace sarn {

// Whether a row is still to be reset, looked at once more where that promises something.
using RowCheck = bool (*)(int32_t row);

// Brings a row back to its reset values in all three device tables, as one group, lowers the count of rows in use and
// clears the row's bits. SARN_OK; SARN_ERR_ROW_RANGE; SARN_ERR_NO_ROW when the check refused; SARN_ERR_REBUILD when the
// store could not keep the group. Nothing is done then.
int32_t reset_device_entry(int32_t row, RowCheck is_to_be_reset) SARN_REQUIRES(state_lock);

}  // namespace sarn

#endif
