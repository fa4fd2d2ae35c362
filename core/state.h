// What this process knows of the rows, and the lock that guards it.
#ifndef SARN_CORE_STATE_H
#define SARN_CORE_STATE_H

#include <stdint.h>

#include "core/locks.h"
#include "core/schema.h"
#include "include/sarn.h"

namespace sarn {

static_assert(ROW_COUNT == SARN_ROWS && SARN_BITMAP_WORDS * 32 == SARN_ROWS);

inline constexpr int32_t MAC_TEXT_LENGTH = 17;

struct MappingRow {
    int32_t index;
    char MACData[20];
};

extern StateLock state_lock;

extern void *store_handle SARN_GUARDED_BY(state_lock);  // null while the store is not open
extern int32_t initialised SARN_GUARDED_BY(state_lock);
extern int64_t last_sync_time SARN_GUARDED_BY(state_lock);
extern MappingRow mapping_table[ROW_COUNT] SARN_GUARDED_BY(state_lock);
extern uint32_t inuse_bitmap[SARN_BITMAP_WORDS] SARN_GUARDED_BY(state_lock);
extern uint32_t offline_bitmap[SARN_BITMAP_WORDS] SARN_GUARDED_BY(state_lock);
extern int32_t inuse_count SARN_GUARDED_BY(state_lock);

bool is_initialised() SARN_EXCLUDES(state_lock);

// False, and logged in the words that most calls share, before sarn_init.
bool require_initialised() SARN_REQUIRES_SHARED(state_lock);

// Empties bitmaps, count and offline candidates, as a start and each rebuild begin.
void clear_all_rows() SARN_REQUIRES(state_lock);

constexpr bool is_row(int32_t row) { return static_cast<uint32_t>(row) < static_cast<uint32_t>(ROW_COUNT); }

}  // namespace sarn

#endif
