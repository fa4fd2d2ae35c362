// Which rows are in use, up, down or free.
#include <string.h>

#include "core/build_mark.h"
#include "core/entry_gate.h"
#include "core/group.h"
#include "core/log.h"
#include "core/mapping_table.h"
#include "core/store.h"
#include "include/sarn.h"

namespace sarn {

namespace {

bool is_selected(int32_t row, uint32_t selector) SARN_REQUIRES_SHARED(state_lock) {
    switch (selector) {
        case SARN_ROWS_IN_USE: return holds_device(row);
        case SARN_ROWS_UP: return holds_device(row) && holds_word(Field::Sarnsignature_Devicestate, row, "UP");
        case SARN_ROWS_DOWN: return holds_device(row) && holds_word(Field::Sarnsignature_Devicestate, row, "DOWN");
        default: return !holds_device(row);
    }
}

bool is_mac_readable(int32_t row) SARN_REQUIRES_SHARED(state_lock) {
    uint8_t mac[6];
    return read_mac(Field::Sarnsignature_DeviceMAC, row, mac);
}

// False when a row's MAC cannot be read; nothing is to be said of any row then.
bool select_row_by_row(RowBitmap &selected, uint32_t selector) SARN_REQUIRES_SHARED(state_lock) {
    for (int32_t row = 0; row < ROW_COUNT; ++row) {
        if (!is_mac_readable(row)) return false;
        if (is_selected(row, selector)) set_row(selected, row);
    }
    return true;
}

// In one snapshot nobody sees the order, and one field of all rows lies side by side. MACs that have not changed since
// all of them were read need not be read again.
bool select_field_by_field(RowBitmap &selected, uint32_t selector) SARN_REQUIRES_SHARED(state_lock) {
    const int32_t unsure_rows = is_build_current() ? 0 : ROW_COUNT;
    for (int32_t row = 0; row < unsure_rows; ++row) {
        if (!is_mac_readable(row)) return false;
    }
    for (int32_t row = 0; row < ROW_COUNT; ++row) {
        if (is_selected(row, selector)) set_row(selected, row);
    }
    return true;
}

int32_t tell_rows(uint32_t *words, uint32_t selector) SARN_REQUIRES_SHARED(state_lock) {
    RowBitmap selected = {};
    const bool is_every_row_read = read_group([&]() SARN_REQUIRES_SHARED(state_lock) {
        return has_groups() ? select_field_by_field(selected, selector) : select_row_by_row(selected, selector);
    });
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
    if (!require_initialised()) return SARN_ERR_NOT_READY;
    return pass_entry_gate() == SARN_OK ? tell_rows(words, selector) : SARN_ERR_REBUILD;
}
