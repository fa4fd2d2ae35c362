// Which rows are in use, up, down or free.
#include <string.h>

#include "core/address_text.h"
#include "core/entry_gate.h"
#include "core/group.h"
#include "core/log.h"
#include "core/mapping_table.h"
#include "core/store.h"
#include "include/sarn.h"

namespace sarn {

namespace {

bool has_state(int32_t row, const char *wanted) SARN_REQUIRES_SHARED(state_lock) {
    char state[8];
    read_text_or_empty(Field::Sarnsignature_Devicestate, row, state);
    return strcmp(state, wanted) == 0;
}

bool is_selected(int32_t row, uint32_t selector) SARN_REQUIRES_SHARED(state_lock) {
    const bool is_in_use = strcmp(mapping_table[row].MACData, NO_DEVICE_MAC) != 0;
    switch (selector) {
        case SARN_ROWS_IN_USE: return is_in_use;
        case SARN_ROWS_UP: return is_in_use && has_state(row, "UP");
        case SARN_ROWS_DOWN: return is_in_use && has_state(row, "DOWN");
        default: return !is_in_use;
    }
}

// False when a row's MAC cannot be read; nothing is to be said of any row then.
bool select_rows(RowBitmap &selected, uint32_t selector) SARN_REQUIRES_SHARED(state_lock) {
    for (int32_t row = 0; row < ROW_COUNT; ++row) {
        uint8_t mac[6];
        if (!read_mac(Field::Sarnsignature_DeviceMAC, row, mac)) return false;
        if (is_selected(row, selector)) set_row(selected, row);
    }
    return true;
}

int32_t tell_rows(uint32_t *words, uint32_t selector) SARN_REQUIRES_SHARED(state_lock) {
    RowBitmap selected = {};
    const bool is_every_row_read =
        read_group([&]() SARN_REQUIRES_SHARED(state_lock) { return select_rows(selected, selector); });
    if (!is_every_row_read) {
        SARN_LOG(MacUnreadable);
        return SARN_ERR_UNREADABLE;
    }
    memcpy(words, selected, sizeof selected);
    for (int32_t word = 0; word < SARN_BITMAP_WORDS; ++word) SARN_LOG(StateBitmapWord, word, selected[word]);
    return count_rows(selected);
}

}  // namespace

}  // namespace sarn

int32_t sarn_device_state_info(uint32_t *words, int32_t word_count, uint32_t selector) {
    using namespace sarn;
    if (words == nullptr || word_count != SARN_BITMAP_WORDS || selector > SARN_ROWS_FREE) return SARN_ERR_SELECTOR;
    {
        const Shared hold(state_lock);
        if (initialised == 1 && is_entry_gate_open()) return tell_rows(words, selector);
    }
    const Exclusive hold(state_lock);
    if (initialised != 1) {
        SARN_LOG(UnauthorizedAccess);
        return SARN_ERR_NOT_READY;
    }
    return pass_entry_gate() == SARN_OK ? tell_rows(words, selector) : SARN_ERR_REBUILD;
}
