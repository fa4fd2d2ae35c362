#include "core/reset_device_entry.h"

#include "core/build_mark.h"
#include "core/entry_gate.h"
#include "core/group.h"
#include "core/mapping_table.h"
#include "core/store.h"

namespace sarn {

namespace {

void write_reset_values(int32_t row, int32_t first, int32_t end) SARN_REQUIRES(state_lock) {
    for (int32_t field = first; field < end; ++field) (void)write_reset_value(static_cast<Field>(field), row);
}

}  // namespace

int32_t reset_device_entry(int32_t row, RowCheck is_to_be_reset) {
    if (!is_row(row)) return SARN_ERR_ROW_RANGE;
    const GroupEnd end = write_group([&]() SARN_REQUIRES(state_lock) {
        if (!is_to_be_reset(row)) return false;
        write_reset_values(row, 0, DEVICE_MAC_FIELD_COUNT);
        announce_row_change();
        write_reset_values(row, DEVICE_MAC_FIELD_COUNT, DEVICE_FIELD_COUNT);
        return true;
    });
    if (end == GroupEnd::Dropped) return SARN_ERR_NO_ROW;
    if (end == GroupEnd::Failed) return SARN_ERR_REBUILD;
    forget_build();
    mark_row_free(row);
    clear_row_bits(row);
    --inuse_count;
    return SARN_OK;
}

}  // namespace sarn
