// Finding the row of a MAC, and giving a new MAC the lowest free one.
#include <string.h>

#include "core/address_text.h"
#include "core/bounded_text.h"
#include "core/build_mark.h"
#include "core/entry_gate.h"
#include "core/group.h"
#include "core/log.h"
#include "core/mapping_table.h"
#include "core/store.h"

namespace sarn {

namespace {

constexpr int32_t MOST_TIMES_LOST = 4;  // races for the same row, one after another

void write_mac_of_row(int32_t row, const uint8_t (&mac)[6]) SARN_REQUIRES(state_lock) {
    (void)write_mac(Field::Sarnsignature_DeviceMAC, row, mac);
    (void)write_mac(Field::DeviceIdList_DeviceMAC, row, mac);
    (void)write_mac(Field::ConnectDeviceinfo_DeviceMAC, row, mac);
}

// Other processes create rows too: the row must still be free, and the MAC must have got no other meanwhile. Another
// row that cannot be read does not stand against it.
bool is_still_free_for(int32_t row, const uint8_t (&mac)[6], const char *mac_text) SARN_REQUIRES(state_lock) {
    static constexpr uint8_t NO_MAC[6] = {};
    if (!has_groups()) return true;
    // The search for a free row may have rebuilt the table after the one for the MAC.
    if (is_build_current()) return !has_row(inuse_bitmap, row) && !is_row(row_in_use_of(mac_text, inuse_bitmap));
    for (int32_t other = 0; other < ROW_COUNT; ++other) {
        uint8_t held[6];
        if (!read_mac(Field::Sarnsignature_DeviceMAC, other, held)) {
            if (other == row) return false;
            continue;
        }
        const bool is_free = memcmp(held, NO_MAC, sizeof held) == 0;
        if (!is_free && (other == row || memcmp(held, mac, sizeof held) == 0)) return false;
    }
    return true;
}

// The row keeps the reset values of its other fields. Without a MAC that the store takes, nothing is written to it.
GroupEnd create_row(int32_t row, const char *mac_text) SARN_REQUIRES(state_lock) {
    {
        const ExportedMutex hold(mutex2);
        mapping_table[row].index = row;
        memcpy(mapping_table[row].MACData, mac_text, MAC_TEXT_LENGTH);
    }
    uint8_t mac[6] = {};
    const BoundedText<MAC_TEXT_LENGTH> address(mac_text);
    if (!mac_from_text(address.text, mac)) {
        forget_build();
        return GroupEnd::Kept;
    }

    char state[sizeof device_info::Devicestate];
    const GroupEnd end = write_group([&]() SARN_REQUIRES(state_lock) {
        if (!is_still_free_for(row, mac, address.text)) return false;
        write_mac_of_row(row, mac);
        announce_row_change();
        read_ascii_or_empty(Field::Sarnsignature_Devicestate, row, state);
        return true;
    });
    forget_build();
    if (end == GroupEnd::Kept) {
        count_row_in_use(row);
        (void)note_state(row, state);
    }
    return end;
}

void log_search(const char *mac, int32_t producer_id) {
    SARN_LOG(FindOrCreateBegins, "check_update_mapping_table", __LINE__, mac, producer_id);
}

// A creation that another process came before leaves this process' table wrong; so does one that the store could not
// keep.
int32_t find_or_create_row(const char *mac, int32_t producer_id) SARN_REQUIRES(state_lock) {
    int32_t lost_row = SARN_ERR_NO_ROW;
    int32_t times_lost = 0;
    // A lost race usually means that the row is taken now. But a rebuild stops at a row that it cannot read: what
    // stands behind that is not seen, and the same row comes up again.
    for (int32_t attempt = 0; attempt < ROW_COUNT && times_lost < MOST_TIMES_LOST; ++attempt) {
        int32_t row = 0;
        if (check_mac_pre_existing(mac, &row)) return row;
        // Before the producer is looked at: hosts know the order of gate and log line.
        row = first_free_index();
        if (producer_id == SARN_PRODUCER_LOOKUP_ONLY) return SARN_ERR_LOOKUP_ONLY;
        if (row < 0) {
            // The search may have rebuilt the table: the last row may be this MAC's by now.
            row = has_groups() ? row_in_use_of(mac, inuse_bitmap) : row;
            return is_row(row) ? row : SARN_ERR_TABLE_FULL;
        }
        const GroupEnd created = create_row(row, mac);
        if (created == GroupEnd::Kept) return row;
        if (sync_global_data() != SARN_OK) return SARN_ERR_REBUILD;
        if (created == GroupEnd::Failed) return SARN_ERR_TABLE_FULL;
        times_lost = row == lost_row ? times_lost + 1 : 1;
        lost_row = row;
    }
    return SARN_ERR_TABLE_FULL;
}

}  // namespace

int32_t find_known_row(const char *mac) {
    if (!is_store_open() || !is_build_current() || inuse_count <= 0) return SARN_ERR_NO_ROW;
    MacText wanted(mac);
    upper_case(wanted.text, sizeof signature_record::mac);
    return row_in_use_of(wanted.text, inuse_bitmap);
}

void tell_known_row(char *mac, int32_t producer_id) {
    log_search(MacText(mac).text, producer_id);
    upper_case(mac, sizeof signature_record::mac);
    log_lookup(MacText(mac).text);
}

int32_t check_update_mapping_table_locked(char *mac, int32_t producer_id) {
    log_search(MacText(mac).text, producer_id);
    if (pass_entry_gate("check_update_mapping_table") != SARN_OK) return SARN_ERR_REBUILD;
    if (!require_initialised()) return SARN_ERR_NOT_INITIALISED;
    upper_case(mac, sizeof signature_record::mac);
    const MacText wanted(mac);
    return find_or_create_row(wanted.text, producer_id);
}

}  // namespace sarn

int32_t check_update_mapping_table(char *mac, int32_t producer_id) {
    if (mac == nullptr) return SARN_ERR_MAC;
    const sarn::Exclusive hold(sarn::state_lock);
    return sarn::check_update_mapping_table_locked(mac, producer_id);
}
