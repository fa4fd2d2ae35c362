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
