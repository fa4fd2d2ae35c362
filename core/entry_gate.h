// What every public operation on devices passes first, so that it works on the rows as the store has them.
#ifndef SARN_CORE_ENTRY_GATE_H
#define SARN_CORE_ENTRY_GATE_H

#include <stdint.h>

#include "core/state.h"

namespace sarn {

// True when the local picture of the rows is to be built again.
bool check_sync_required() SARN_REQUIRES_SHARED(state_lock);

// Builds it again from the store. SARN_OK, or SARN_ERR_CLEANUP and the library is left not initialised.
int32_t sync_global_data() SARN_REQUIRES(state_lock);

// The gate, under the lock: what sync_global_data returned, or SARN_OK when there was nothing to do. While the store is
// not open it touches neither the store nor the state.
int32_t pass_entry_gate() SARN_REQUIRES(state_lock);

// True when the gate would do nothing, as far as the shared lock lets one tell: false where the store tells no changes.
bool is_entry_gate_open() SARN_REQUIRES_SHARED(state_lock);

// pass_entry_gate on behalf of `operation`, logging a failure in its name.
int32_t pass_entry_gate(const char *operation) SARN_REQUIRES(state_lock);

// The gate of an operation whose work follows on a thread of its own.
[[nodiscard]] bool go_through_gate(const char *operation) SARN_EXCLUDES(state_lock);
[[nodiscard]] bool go_through_gate_silently() SARN_EXCLUDES(state_lock);

// A rebuild whatever the gate would say, for an operation that wants the newest rows.
[[nodiscard]] bool rebuild_first(const char *operation) SARN_EXCLUDES(state_lock);

// A MAC moved into or out of a row: tells the other processes to rebuild.
void announce_row_change() SARN_REQUIRES(state_lock);

// The store's sync timestamp; 0 when it cannot be read.
int32_t read_sync_timestamp() SARN_REQUIRES_SHARED(state_lock);

// As the sync timestamp: rebuilds are switched off.
inline constexpr int32_t REBUILDS_OFF = -1;

}  // namespace sarn

#endif
