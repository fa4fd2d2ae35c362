// Finding the row of a MAC, and giving a new MAC the lowest free one.
#include <string.h>

#include "core/address_text.h"
#include "core/bounded_text.h"
#include "core/entry_gate.h"
#include "core/log.h"
#include "core/mapping_table.h"
#include "core/store.h"

namespace sarn {

namespace {

// A search that finds the bitmap full although rows are free starts again from a rebuilt table. More often than this it
// would mean that the store changes faster than it can be read.
constexpr int32_t FREE_ROW_SEARCHES = 3;

// Not a row and not a code: look again.
constexpr int32_t SEARCH_AGAIN = ROW_COUNT;

int32_t lowest_clear_row(const RowBitmap &bitmap) {
    for (int32_t row = 0; row < ROW_COUNT; ++row) {
        if (!has_row(bitmap, row)) return row;
    }
    return SEARCH_AGAIN;
}

int32_t search_free_row() SARN_REQUIRES(state_lock) {
    if (pass_entry_gate() != SARN_OK) return SARN_ERR_REBUILD;
    if (inuse_count == ROW_COUNT) return SARN_ERR_TABLE_FULL;
    if (inuse_count <= 0) return 0;

    RowBitmap in_use = {};
    if (sarn_table_enquiry_locked(in_use, SARN_BITMAP_WORDS) == SARN_OK) {
        const int32_t row = lowest_clear_row(in_use);
        if (row != SEARCH_AGAIN) {
            SARN_LOG(FreeRowFound, "first_free_index", __LINE__, row);
            return row;
        }
    }

    const int32_t stored = read_sync_timestamp();
    if (stored == REBUILDS_OFF || static_cast<uint32_t>(stored) < static_cast<uint64_t>(last_sync_time)) {
        return SARN_ERR_STALE;
    }
    return inuse_count >= ROW_COUNT ? SARN_ERR_NO_ROW : SEARCH_AGAIN;
}

void write_mac_of_row(int32_t row, const uint8_t (&mac)[6]) SARN_REQUIRES(state_lock) {
    (void)write_mac(Field::Sarnsignature_DeviceMAC, row, mac);
    (void)write_mac(Field::DeviceIdList_DeviceMAC, row, mac);
    (void)write_mac(Field::ConnectDeviceinfo_DeviceMAC, row, mac);
}

// The row keeps the reset values of its other fields.
void create_row(int32_t row, const char *mac_text) SARN_REQUIRES(state_lock) {
    {
        const ExportedMutex hold(mutex2);
        mapping_table[row].index = row;
        memcpy(mapping_table[row].MACData, mac_text, MAC_TEXT_LENGTH);
    }
    uint8_t mac[6] = {};
    const BoundedText<MAC_TEXT_LENGTH> address(mac_text);
    if (!mac_from_text(address.text, mac)) return;
    write_mac_of_row(row, mac);
    announce_row_change();
    count_row_in_use(row);
    char state[sizeof device_info::Devicestate];
    read_ascii_or_empty(Field::Sarnsignature_Devicestate, row, state);
    (void)note_state(row, state);
}

}  // namespace

bool check_mac_pre_existing(const char *mac, int32_t *row) {
    if (inuse_count <= 0) return false;
    RowBitmap in_use = {};
    const int32_t enquiry = sarn_table_enquiry_locked(in_use, SARN_BITMAP_WORDS);
    SARN_LOG(LookupBegins, __func__, __LINE__, mac);
    if (enquiry != SARN_OK) return false;
    for (int32_t word = SARN_BITMAP_WORDS - 1; word >= 0; --word) {
        for (uint32_t rows = in_use[word]; rows != 0; rows &= rows - 1) {
            const int32_t candidate = word * WORD_BITS + __builtin_ctz(rows);
            if (!is_same_mac(mapping_table[candidate].MACData, mac)) continue;
            *row = candidate;
            return true;
        }
    }
    return false;
}

int32_t first_free_index() {
    for (int32_t search = 0; search < FREE_ROW_SEARCHES; ++search) {
        const int32_t row = search_free_row();
        if (row != SEARCH_AGAIN) return row;
    }
    return SARN_ERR_NO_ROW;
}

int32_t check_update_mapping_table_locked(char *mac, int32_t producer_id) {
    const MacText asked(mac);
    SARN_LOG(FindOrCreateBegins, "check_update_mapping_table", __LINE__, asked.text, producer_id);
    if (pass_entry_gate("check_update_mapping_table") != SARN_OK) return SARN_ERR_REBUILD;
    if (initialised != 1) {
        SARN_LOG(UnauthorizedAccess);
        return SARN_ERR_NOT_INITIALISED;
    }
    upper_case(mac, sizeof signature_record::mac);
    const MacText wanted(mac);

    int32_t row = 0;
    if (check_mac_pre_existing(wanted.text, &row)) return row;
    row = first_free_index();
    if (producer_id == SARN_PRODUCER_LOOKUP_ONLY) return SARN_ERR_LOOKUP_ONLY;
    if (row < 0) return SARN_ERR_TABLE_FULL;
    create_row(row, wanted.text);
    return row;
}

}  // namespace sarn

int32_t check_update_mapping_table(char *mac, int32_t producer_id) {
    if (mac == nullptr) return SARN_ERR_MAC;
    const sarn::Exclusive hold(sarn::state_lock);
    return sarn::check_update_mapping_table_locked(mac, producer_id);
}
