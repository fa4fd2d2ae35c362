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

// Without the row the next gate's rebuild would find all else as it is: an offline one may have kept others out of the
// candidates. A host that holds builds up gets no rebuild that could be left out.
bool is_all_else_current(int32_t row) SARN_REQUIRES(state_lock) {
    return has_groups() && !has_row(offline_bitmap, row) && !is_build_running() && is_build_current();
}

}  // namespace

int32_t reset_device_entry(int32_t row, RowCheck refusal_of) {
    if (!is_row(row)) return SARN_ERR_ROW_RANGE;
    FollowedChange change = {};
    int32_t refusal = SARN_OK;
    const GroupEnd end = write_group([&]() SARN_REQUIRES(state_lock) {
        refusal = refusal_of(row);
        if (refusal != SARN_OK) return false;
        const bool is_followed = is_all_else_current(row);
        write_reset_values(row, 0, DEVICE_MAC_FIELD_COUNT);
        announce_row_change();
        write_reset_values(row, DEVICE_MAC_FIELD_COUNT, DEVICE_FIELD_COUNT);
        if (is_followed) change = note_followed_change();
        return true;
    });
    if (end == GroupEnd::Dropped) return refusal;
    if (end == GroupEnd::Failed) return SARN_ERR_REBUILD;
    free_row(row);
    --inuse_count;
    follow_build(change);
    if (change.is_followed) mapping_table[row].index = row;  // as a rebuild leaves it
    return SARN_OK;
}

}  // namespace sarn
