#include "core/entry_gate.h"

#include "core/build_mark.h"
#include "core/log.h"
#include "core/mapping_table.h"
#include "core/offline_cleanup.h"
#include "core/store.h"
#include "core/time_text.h"

namespace sarn {

namespace {

int32_t log_sync_failure(const char *operation, int32_t result) {
    if (result != SARN_OK) SARN_LOG(SyncFailed, operation, __LINE__, result);
    return result;
}

// Calls that find nothing to rebuild pass beside each other.
bool is_entry_gate_open_now() SARN_EXCLUDES(state_lock) {
    const Shared hold(state_lock);
    return is_entry_gate_open();
}

}  // namespace

int32_t read_sync_timestamp() {
    char text[TIME_TEXT_SIZE];
    read_text_or_empty(Field::general_SARNSyncTimestamp, SINGLE_ROW, text);
    return seconds_of(text);
}

void announce_row_change() {
    const TimeText now = current_time_text();
    (void)write_text(Field::general_SARNSyncTimestamp, SINGLE_ROW, now.text);
    last_sync_time = seconds_of(now.text);
}

bool check_sync_required() {
    const int32_t stored = read_sync_timestamp();
    if (stored == REBUILDS_OFF) return false;
    // Any local time counts as stale: the store's text alone does not tell whether rows changed since.
    return last_sync_time != 0 || stored != 0;
}

int32_t sync_global_data() {
    initialised = 0;
    clear_all_rows();
    (void)init_mapping_table_locked();
    if (create_mapping_table_locked() >= 0) mark_build_current();
    const int32_t cleaned = clean_up_crowded_table();
    if (cleaned != SARN_OK) return cleaned;
    last_sync_time = read_sync_timestamp();
    initialised = 1;
    return SARN_OK;
}

int32_t pass_entry_gate() {
    if (is_entry_gate_open() || !check_sync_required() || is_build_running()) return SARN_OK;
    return sync_global_data();
}

int32_t pass_entry_gate(const char *operation) { return log_sync_failure(operation, pass_entry_gate()); }

bool is_entry_gate_open() { return !is_store_open() || is_build_current(); }

bool go_through_gate(const char *operation) {
    if (is_entry_gate_open_now()) return true;
    const Exclusive hold(state_lock);
    return pass_entry_gate(operation) == SARN_OK;
}

bool rebuild_first(const char *operation) {
    const Exclusive hold(state_lock);
    if (!is_store_open() || (!is_build_running() && is_build_current())) return true;
    return log_sync_failure(operation, sync_global_data()) == SARN_OK;
}

bool go_through_gate_silently() {
    if (is_entry_gate_open_now()) return true;
    const Exclusive hold(state_lock);
    return pass_entry_gate() == SARN_OK;
}

}  // namespace sarn
