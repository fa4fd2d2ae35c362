#include "core/reset_device_entry.h"

#include "core/entry_gate.h"
#include "core/mapping_table.h"
#include "core/store.h"

namespace sarn {

namespace {

void write_reset_values(int32_t row, int32_t first, int32_t end) SARN_REQUIRES(state_lock) {
    for (int32_t field = first; field < end; ++field) (void)write_reset_value(static_cast<Field>(field), row);
}

}  // namespace

int32_t reset_device_entry(int32_t row) {
    if (!is_row(row)) return SARN_ERR_ROW_RANGE;
    write_reset_values(row, 0, DEVICE_MAC_FIELD_COUNT);
    announce_row_change();
    mark_row_free(row);
    --inuse_count;
    write_reset_values(row, DEVICE_MAC_FIELD_COUNT, DEVICE_FIELD_COUNT);
    return SARN_OK;
}

}  // namespace sarn
