// Which MAC occupies which row, as this process sees it. A function whose name ends in _locked is the body of the
// exported call of that name, which takes the lock around it.
#ifndef SARN_CORE_MAPPING_TABLE_H
#define SARN_CORE_MAPPING_TABLE_H

#include <stdint.h>

#include "core/row_bitmap.h"
#include "core/state.h"

namespace sarn {

int32_t init_mapping_table_locked() SARN_REQUIRES(state_lock);
int32_t create_mapping_table_locked() SARN_REQUIRES(state_lock);
int32_t sarn_table_enquiry_locked(uint32_t *words, int32_t word_count) SARN_REQUIRES(state_lock);

// True while a build runs; also while the host holds `mappingtablestatus` at 0, which keeps the gates from building.
bool is_build_running();

// The row of an upper-case MAC text, of which 17 bytes are read, among these rows, the last word of the bitmap first;
// SARN_ERR_NO_ROW.
int32_t row_in_use_of(const char *mac, const RowBitmap &in_use) SARN_REQUIRES_SHARED(state_lock);

// What a look-up logs before it begins.
void log_lookup(const char *mac);

// row_in_use_of among the rows in use as the gate leaves them.
bool check_mac_pre_existing(const char *mac, int32_t *row) SARN_REQUIRES(state_lock);

// A free row, the lowest first; a negative code when there is none.
int32_t first_free_index() SARN_REQUIRES(state_lock);

// The row of a MAC, which gets the lowest free one when it has none; the letters among the first 18 bytes of `mac`
// become upper case. Results as the exported call has them.
int32_t check_update_mapping_table_locked(char *mac, int32_t producer_id) SARN_REQUIRES(state_lock);

// The look-up alone, beside other readers: the row that check_update_mapping_table_locked would find, when the gate is
// open and the MAC has one; else SARN_ERR_NO_ROW. It changes and logs nothing; tell_known_row then does both as that
// call would.
int32_t find_known_row(const char *mac) SARN_REQUIRES_SHARED(state_lock);
void tell_known_row(char *mac, int32_t producer_id);

// True when the table entry of the row holds a device.
bool holds_device(int32_t row) SARN_REQUIRES_SHARED(state_lock);

// The lowest row whose table entry holds a device with this upper-case MAC text; SARN_ERR_NO_ROW when there is none.
int32_t lowest_row_of(const char *mac) SARN_REQUIRES_SHARED(state_lock);

bool is_same_mac(const char *left, const char *right);

// The row holds no device any more: its table entry, and its bits in the two bitmaps.
void free_row(int32_t row) SARN_REQUIRES(state_lock);

// Exactly one of OFFLINE_STATES.
bool is_offline_state(const char *state);

// A row in use whose state text counts as offline is set in the bitmap, any other cleared. True when it is offline.
bool note_state(int32_t row, const char *state) SARN_REQUIRES(state_lock);

// One more row in use.
void count_row_in_use(int32_t row) SARN_REQUIRES(state_lock);

}  // namespace sarn

#endif
