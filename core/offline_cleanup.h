// Frees rows of offline devices, the longest offline first, when the table is crowded.
#ifndef SARN_CORE_OFFLINE_CLEANUP_H
#define SARN_CORE_OFFLINE_CLEANUP_H

#include <stdint.h>

#include "core/state.h"

namespace sarn {

void clear_gc_candidates() SARN_REQUIRES(state_lock);

// Lists an offline row with the time of its report. The list keeps the ten oldest; a row that is listed already only
// has its time refreshed, so that no clean-up resets a row twice.
void add_gc_candidate(const char *timestamp, int32_t row) SARN_REQUIRES(state_lock);

int32_t count_offline_entries() SARN_REQUIRES_SHARED(state_lock);

// True when the table is crowded and some row is offline.
bool is_clean_up_due() SARN_REQUIRES_SHARED(state_lock);

// The number of rows freed; SARN_ERR_NOT_CROWDED; SARN_ERR_NONE_OFFLINE.
int32_t cleanup_offline_entries() SARN_REQUIRES(state_lock);

// When the table is crowded and some row is offline, cleans up and logs the outcome.
// At the start and in a rebuild: SARN_ERR_CLEANUP when the clean-up failed, else SARN_OK.
int32_t clean_up_crowded_table() SARN_REQUIRES(state_lock);
// After a report, and after a detail update: the outcome is logged, each in its own words, and changes nothing.
void clean_up_after_report() SARN_REQUIRES(state_lock);
void clean_up_after_detail() SARN_REQUIRES(state_lock);

}  // namespace sarn

#endif
