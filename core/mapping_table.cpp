#include "core/mapping_table.h"

#include <string.h>

#include "core/address_text.h"
#include "core/build_mark.h"

namespace sarn {

bool is_same_mac(const char *left, const char *right) { return strncmp(left, right, MAC_TEXT_LENGTH) == 0; }

bool holds_device(int32_t row) { return memcmp(mapping_table[row].MACData, NO_DEVICE_MAC, sizeof NO_DEVICE_MAC) != 0; }

int32_t lowest_row_of(const char *mac) {
    for (int32_t row = 0; row < ROW_COUNT; ++row) {
        if (holds_device(row) && is_same_mac(mapping_table[row].MACData, mac)) return row;
    }
    return SARN_ERR_NO_ROW;
}

void free_row(int32_t row) {
    mapping_table[row].index = 0;
    memcpy(mapping_table[row].MACData, NO_DEVICE_MAC, sizeof NO_DEVICE_MAC);
    clear_row(offline_bitmap, row);
    clear_row(inuse_bitmap, row);
}

bool is_offline_state(const char *state) {
    for (const char *offline : OFFLINE_STATES) {
        if (strcmp(state, offline) == 0) return true;
    }
    return false;
}

bool note_state(int32_t row, const char *state) {
    const bool is_offline = is_offline_state(state);
    if (is_offline != has_row(offline_bitmap, row)) forget_build();
    if (is_offline) {
        set_row(offline_bitmap, row);
    } else {
        clear_row(offline_bitmap, row);
    }
    return is_offline;
}

void count_row_in_use(int32_t row) {
    if (inuse_count < ROW_COUNT) ++inuse_count;
    set_row(inuse_bitmap, row);
}

}  // namespace sarn
