#include "core/mapping_table.h"

#include <string.h>

#include "core/address_text.h"
#include "core/entry_gate.h"
#include "core/log.h"
#include "core/offline_cleanup.h"
#include "core/store.h"
#include "core/time_text.h"

namespace sarn {

namespace {

// A row that no build has read yet.
constexpr char UNREAD_MAC[] = "ff:ff:ff:ff:ff:ff";

// Counts the builds that began, so that a call which waited out another's build can tell.
uint32_t builds_begun = 0;

void set_mac_text(MappingRow &row, const char (&text)[sizeof NO_DEVICE_MAC]) { memcpy(row.MACData, text, sizeof text); }

void begin_build() {
    __atomic_add_fetch(&builds_begun, 1, __ATOMIC_RELAXED);
    __atomic_store_n(&mappingtablestatus, uint8_t{0}, __ATOMIC_RELEASE);
}

void end_build() { __atomic_store_n(&mappingtablestatus, uint8_t{1}, __ATOMIC_RELEASE); }

// A row in use: counts it, keeps the mirror of its MAC, and notes whether its device is offline.
void take_in_row(int32_t row, const uint8_t (&mac)[6]) SARN_REQUIRES(state_lock) {
    count_row_in_use(row);
    (void)write_mac(Field::ConnectDeviceinfo_DeviceMAC, row, mac);
    char state[sizeof device_info::Devicestate];
    read_ascii_or_empty(Field::Sarnsignature_Devicestate, row, state);
    if (!note_state(row, state)) return;
    char timestamp[TIME_TEXT_SIZE];
    read_text_or_empty(Field::DeviceIdList_Timestamp, row, timestamp);
    add_gc_candidate(timestamp, row);
}

bool read_rows() SARN_REQUIRES(state_lock) {
    for (int32_t row = 0; row < ROW_COUNT; ++row) {
        uint8_t mac[6] = {};
        if (!read_mac(Field::Sarnsignature_DeviceMAC, row, mac)) return false;
        const MacBytesText text = mac_bytes_to_text(mac);
        mapping_table[row].index = row;
        memcpy(mapping_table[row].MACData, text.text, sizeof text.text);
        if (strcmp(text.text, NO_DEVICE_MAC) != 0) take_in_row(row, mac);
    }
    return true;
}

}  // namespace

bool is_build_running() { return __atomic_load_n(&mappingtablestatus, __ATOMIC_ACQUIRE) == 0; }

int32_t init_mapping_table_locked() {
    const ExportedMutex hold(mutex1);
    for (int32_t row = 0; row < ROW_COUNT; ++row) {
        mapping_table[row].index = row;
        set_mac_text(mapping_table[row], UNREAD_MAC);
    }
    return SARN_OK;
}

int32_t create_mapping_table_locked() {
    if (is_build_running()) return SARN_ERR_BUILD_RUNNING;
    begin_build();
    bool all_read = false;
    {
        const ExportedMutex hold(mutex1);
        all_read = read_rows();
        if (!all_read) SARN_LOG(MacUnreadable);
    }
    if (!all_read) {
        end_build();
        return SARN_ERR_UNREADABLE;
    }
    last_sync_time = seconds_of(current_time_text().text);
    end_build();
    SARN_LOG(RowsInUse, inuse_count);
    return inuse_count;
}

int32_t sarn_table_enquiry_locked(uint32_t *words, int32_t word_count) {
    if (initialised != 1) {
        SARN_LOG(UnauthorizedAccess);
        return SARN_ERR_NOT_READY;
    }
    if (pass_entry_gate() != SARN_OK) return SARN_ERR_REBUILD;
    if (words == nullptr) return SARN_ERR_NULL_BUFFER;
    if (word_count != SARN_BITMAP_WORDS) return SARN_ERR_WORD_COUNT;
    memcpy(words, inuse_bitmap, sizeof inuse_bitmap);
    return SARN_OK;
}

bool is_same_mac(const char *left, const char *right) { return strncmp(left, right, MAC_TEXT_LENGTH) == 0; }

void mark_row_free(int32_t row) {
    mapping_table[row].index = 0;
    set_mac_text(mapping_table[row], NO_DEVICE_MAC);
}

void clear_row_bits(int32_t row) {
    clear_row(offline_bitmap, row);
    clear_row(inuse_bitmap, row);
}

bool note_state(int32_t row, const char *state) {
    const bool is_offline = strcmp(state, "DOWN") == 0 || strcmp(state, "unknown") == 0;
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

MacBytesText mac_bytes_to_text(const uint8_t (&mac)[6]) {
    static constexpr char DIGITS[] = "0123456789ABCDEF";
    MacBytesText result = {};
    char *out = result.text;
    for (const uint8_t byte : mac) {
        *out++ = DIGITS[byte >> 4];
        *out++ = DIGITS[byte & 0x0F];
        *out++ = ':';
    }
    out[-1] = '\0';
    return result;
}

}  // namespace sarn

int32_t init_mapping_table(void) {
    const sarn::Exclusive hold(sarn::state_lock);
    return sarn::init_mapping_table_locked();
}

int32_t print_mapping_table(void) {
    const sarn::Exclusive hold(sarn::state_lock);
    const sarn::ExportedMutex hold_table(mutex1);
    for (int32_t row = 0; row < sarn::ROW_COUNT; ++row) {
        SARN_LOG(MappingRowIndex, row, sarn::mapping_table[row].index);
        SARN_LOG(MappingRowMac, row, sarn::mapping_table[row].MACData);
    }
    return SARN_OK;
}

int32_t create_mapping_table(void) {
    if (sarn::is_build_running()) return SARN_ERR_BUILD_RUNNING;
    const uint32_t begun = __atomic_load_n(&sarn::builds_begun, __ATOMIC_RELAXED);
    const sarn::Exclusive hold(sarn::state_lock);
    // The lock may have been another's for a build that began just after the first look.
    if (__atomic_load_n(&sarn::builds_begun, __ATOMIC_RELAXED) != begun) return SARN_ERR_BUILD_RUNNING;
    return sarn::create_mapping_table_locked();
}

int32_t sarn_table_enquiry(uint32_t *words, int32_t word_count) {
    const sarn::Exclusive hold(sarn::state_lock);
    return sarn::sarn_table_enquiry_locked(words, word_count);
}

int32_t get_total_sarn_entries_used(void) {
    const sarn::Exclusive hold(sarn::state_lock);
    if (sarn::pass_entry_gate() != SARN_OK) return SARN_ERR_REBUILD;
    if (sarn::initialised != 1) {
        SARN_LOG(UnauthorizedAccess);
        return SARN_ERR_NOT_INITIALISED;
    }
    return sarn::inuse_count;
}
