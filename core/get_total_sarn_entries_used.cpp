#include "core/entry_gate.h"
#include "core/state.h"

int32_t get_total_sarn_entries_used(void) {
    const sarn::Exclusive hold(sarn::state_lock);
    if (sarn::pass_entry_gate() != SARN_OK) return SARN_ERR_REBUILD;
    if (!sarn::require_initialised()) return SARN_ERR_NOT_INITIALISED;
    return sarn::inuse_count;
}
