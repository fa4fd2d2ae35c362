#include "core/build_mark.h"
#include "core/entry_gate.h"
#include "core/log.h"
#include "core/mapping_table.h"

namespace sarn {

namespace {

// A search that finds the bitmap full although rows are free, or may be, starts again from a rebuilt table. More often
// than this it would mean that the store changes faster than it can be read.
constexpr int32_t FREE_ROW_SEARCHES = 3;

// Not a row and not a code: look again.
constexpr int32_t SEARCH_AGAIN = ROW_COUNT;

int32_t lowest_clear_row(const RowBitmap &bitmap) {
    for (int32_t row = 0; row < ROW_COUNT; ++row) {
        if (!has_row(bitmap, row)) return row;
    }
    return SARN_ERR_NO_ROW;
}

// Another process may have freed a row since the table was built.
bool is_full() SARN_REQUIRES(state_lock) { return inuse_count >= ROW_COUNT && !is_build_overtaken(); }

int32_t search_free_row() SARN_REQUIRES(state_lock) {
    if (pass_entry_gate() != SARN_OK) return SARN_ERR_REBUILD;
    if (inuse_count == ROW_COUNT) return is_full() ? SARN_ERR_TABLE_FULL : SEARCH_AGAIN;
    if (inuse_count <= 0) return 0;

    RowBitmap in_use = {};
    if (sarn_table_enquiry_locked(in_use, SARN_BITMAP_WORDS) == SARN_OK) {
        const int32_t row = lowest_clear_row(in_use);
        if (is_row(row)) {
            SARN_LOG(FreeRowFound, "first_free_index", __LINE__, row);
            return row;
        }
    }

    const int32_t stored = read_sync_timestamp();
    if (stored == REBUILDS_OFF || static_cast<uint32_t>(stored) < static_cast<uint64_t>(last_sync_time)) {
        return SARN_ERR_STALE;
    }
    return is_full() ? SARN_ERR_NO_ROW : SEARCH_AGAIN;
}

}  // namespace

int32_t first_free_index() {
    for (int32_t search = 0; search < FREE_ROW_SEARCHES; ++search) {
        const int32_t row = search_free_row();
        if (row != SEARCH_AGAIN) return row;
    }
    return SARN_ERR_NO_ROW;
}

}  // namespace sarn
