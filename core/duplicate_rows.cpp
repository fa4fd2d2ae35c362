#include "core/duplicate_rows.h"

#include "core/build_mark.h"
#include "core/group.h"
#include "core/mapping_table.h"
#include "core/reset_device_entry.h"
#include "core/store.h"
#include "core/time_text.h"

namespace sarn {

namespace {

int32_t read_timestamp(int32_t row) SARN_REQUIRES(state_lock) {
    char text[TIME_TEXT_SIZE];
    read_text_or_empty(Field::DeviceIdList_Timestamp, row, text);
    return seconds_of(text);
}

int32_t refusal_of(int32_t row) SARN_REQUIRES(state_lock) {
    return holds_known_device(row) ? SARN_OK : SARN_ERR_NO_ROW;
}

void remove_row(int32_t row, RowBitmap &rows) SARN_REQUIRES(state_lock) {
    forget_build();  // so the entry stays as a reset leaves it, as where the store tells no changes
    (void)reset_device_entry(row, refusal_of);
    clear_row(rows, row);
}

// Resets the older of two rows and returns the one that stays.
int32_t keep_newer(int32_t current, int32_t other, RowBitmap &rows) SARN_REQUIRES(state_lock) {
    const int32_t current_time = read_timestamp(current);
    const bool is_current_kept = current_time >= read_timestamp(other);
    remove_row(is_current_kept ? other : current, rows);
    return is_current_kept ? current : other;
}

// Which of two equally old rows stays follows from the order: the last word first, but within a word upwards, and in
// the visited row's own word only the rows below it.
void keep_newest_of_mac(int32_t visited, RowBitmap &rows) SARN_REQUIRES(state_lock) {
    int32_t current = visited;
    for (int32_t word = SARN_BITMAP_WORDS - 1; word >= 0; --word) {
        const int32_t first = word * WORD_BITS;
        const int32_t end = word == visited / WORD_BITS ? visited : first + WORD_BITS;
        for (int32_t other = first; other < end; ++other) {
            if (!has_row(rows, other)) continue;
            if (!is_same_mac(mapping_table[current].MACData, mapping_table[other].MACData)) continue;
            current = keep_newer(current, other, rows);
        }
    }
}

}  // namespace

void remove_duplicate_rows(RowBitmap &rows) {
    for (int32_t row = 0; row < ROW_COUNT; ++row) {
        if (has_row(rows, row)) keep_newest_of_mac(row, rows);
    }
}

}  // namespace sarn
