#ifndef SARN_CORE_RESET_DEVICE_ENTRY_H
#define SARN_CORE_RESET_DEVICE_ENTRY_H

#include <stdint.h>

#include "core/state.h"

namespace sarn {

// Why a row is not to be reset any more, looked at where that promises something; SARN_OK when it is.
using RowCheck = int32_t (*)(int32_t row);

// Brings a row back to its reset values in all three device tables, as one group, lowers the count of rows in use and
// clears the row's bits. SARN_OK; SARN_ERR_ROW_RANGE; what the check answered; SARN_ERR_REBUILD when the store could
// not keep the group. Nothing is done then.
int32_t reset_device_entry(int32_t row, RowCheck refusal_of) SARN_REQUIRES(state_lock);

}  // namespace sarn

#endif
