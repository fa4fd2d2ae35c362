#include "core/offline_cleanup.h"

#include "core/build_mark.h"
#include "core/group.h"
#include "core/log.h"
#include "core/mapping_table.h"
#include "core/reset_device_entry.h"
#include "core/row_bitmap.h"
#include "core/store.h"
#include "core/time_text.h"

gc_candidate gc_epochtime_array[10];

namespace sarn {

namespace {

constexpr int32_t CANDIDATE_COUNT = sizeof gc_epochtime_array / sizeof gc_epochtime_array[0];
constexpr int32_t CROWDED_FROM = 180;
constexpr gc_candidate EMPTY_SLOT = {-1, -1};

gc_candidate *find_slot_of(int32_t row) SARN_REQUIRES(state_lock) {
    for (gc_candidate &slot : gc_epochtime_array) {
        if (slot.row == row) return &slot;
    }
    return nullptr;
}

gc_candidate *newest_slot() SARN_REQUIRES(state_lock) {
    gc_candidate *newest = &gc_epochtime_array[0];
    for (gc_candidate &slot : gc_epochtime_array) {
        if (slot.timestamp > newest->timestamp) newest = &slot;
    }
    return newest;
}

// A candidate may have come back, or made room for another device, since it was listed.
int32_t refusal_of(int32_t row) SARN_REQUIRES(state_lock) {
    if (!has_groups()) return SARN_OK;
    char state[sizeof device_info::Devicestate];
    read_ascii_or_empty(Field::Sarnsignature_Devicestate, row, state);
    return holds_known_device(row) && is_offline_state(state) ? SARN_OK : SARN_ERR_NO_ROW;
}

}  // namespace

void clear_gc_candidates() {
    for (gc_candidate &slot : gc_epochtime_array) slot = EMPTY_SLOT;
}

void add_gc_candidate(const char *timestamp, int32_t row) {
    const gc_candidate candidate = {seconds_of(timestamp), row};
    gc_candidate *slot = find_slot_of(row);
    if (slot == nullptr) slot = find_slot_of(EMPTY_SLOT.row);
    if (slot == nullptr) {
        slot = newest_slot();
        if (candidate.timestamp >= slot->timestamp) return;
    }
    if (slot->row == candidate.row && slot->timestamp == candidate.timestamp) return;
    *slot = candidate;
    forget_build();
}

bool is_clean_up_due() { return inuse_count >= CROWDED_FROM && is_any_row(offline_bitmap); }

int32_t count_offline_entries() { return count_rows(offline_bitmap); }

int32_t cleanup_offline_entries() {
    if (count_rows(inuse_bitmap) < CROWDED_FROM) return SARN_ERR_NOT_CROWDED;
    const int32_t offline = count_offline_entries();
    if (offline == 0) return SARN_ERR_NONE_OFFLINE;

    int32_t removed = 0;
    for (int32_t i = 0; i < offline && i < CANDIDATE_COUNT; ++i) {
        gc_candidate &slot = gc_epochtime_array[i];
        if (!is_row(slot.row)) continue;
        if (reset_device_entry(slot.row, refusal_of) == SARN_OK) ++removed;
        slot = EMPTY_SLOT;
    }
    return removed;
}

int32_t clean_up_crowded_table() {
    if (!is_clean_up_due()) return SARN_OK;
    const int32_t removed = cleanup_offline_entries();
    if (removed >= 0) {
        SARN_LOG(SarnCleanupRemoved, removed);
    } else if (removed == SARN_ERR_NONE_OFFLINE || removed == SARN_ERR_NOT_CROWDED) {
        SARN_LOG(CleanupNotNeeded);
    } else {
        SARN_LOG(SarnCleanupFailed, removed);
        return SARN_ERR_CLEANUP;
    }
    return SARN_OK;
}

void clean_up_after_report() {
    if (!is_clean_up_due()) return;
    const int32_t removed = cleanup_offline_entries();
    if (removed >= 0) {
        SARN_LOG(CleanupRemoved, removed);
    } else {
        SARN_LOG(CleanupFailed, removed);
    }
}

void clean_up_after_detail() {
    if (!is_clean_up_due()) return;
    const int32_t removed = cleanup_offline_entries();
    if (removed >= 0) {
        SARN_LOG(SarnCleanupRemoved, removed);
    } else {
        SARN_LOG(SarnCleanupFailed, removed);
    }
}

}  // namespace sarn
