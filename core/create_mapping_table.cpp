// Building this process's picture of the rows from the store.
#include <string.h>

#include "core/address_text.h"
#include "core/build_mark.h"
#include "core/group.h"
#include "core/log.h"
#include "core/mapping_table.h"
#include "core/offline_cleanup.h"
#include "core/store.h"
#include "core/time_text.h"

namespace sarn {

namespace {

// Counts the builds that began, so that a call which waited out another's build can tell.
uint32_t builds_begun = 0;

void begin_build() {
    __atomic_store_n(&mappingtablestatus, uint8_t{0}, __ATOMIC_RELAXED);
    __atomic_add_fetch(&builds_begun, 1, __ATOMIC_RELEASE);
}

void end_build() { __atomic_store_n(&mappingtablestatus, uint8_t{1}, __ATOMIC_RELEASE); }

// What a build reads before it is known to be whole.
struct Build {
    uint8_t macs[ROW_COUNT][6] = {};
    RowBitmap differing = {};  // rows whose mirror is to be mended
    bool is_whole = true;      // false once the next one may find more, though nothing changes in the store
};

bool read_row_mac(int32_t row, Build &build) SARN_REQUIRES(state_lock) {
    if (!read_mac(Field::Sarnsignature_DeviceMAC, row, build.macs[row])) return false;
    const MacBytesText text = mac_bytes_to_text(build.macs[row]);
    mapping_table[row].index = row;
    memcpy(mapping_table[row].MACData, text.text, sizeof text.text);
    if (holds_device(row)) count_row_in_use(row);
    return true;
}

// The mirror of a row's MAC in the connection table. In a snapshot it can only be compared; one that differs, which no
// group of ours leaves behind, is noted and mended afterwards.
void keep_mirror(int32_t row, Build &build) SARN_REQUIRES(state_lock) {
    const uint8_t(&mac)[6] = build.macs[row];
    if (!has_groups()) {
        if (!write_mac(Field::ConnectDeviceinfo_DeviceMAC, row, mac)) build.is_whole = false;
        return;
    }
    uint8_t mirror[6];
    if (!read_mac(Field::ConnectDeviceinfo_DeviceMAC, row, mirror) || memcmp(mirror, mac, sizeof mirror) != 0) {
        set_row(build.differing, row);
    }
}

void mend_mirrors(Build &build) SARN_REQUIRES(state_lock) {
    for (int32_t row = 0; row < ROW_COUNT; ++row) {
        if (!has_row(build.differing, row)) continue;
        const GroupEnd end = write_group([&]() SARN_REQUIRES(state_lock) {
            return holds_known_device(row) && write_mac(Field::ConnectDeviceinfo_DeviceMAC, row, build.macs[row]);
        });
        if (end != GroupEnd::Kept) build.is_whole = false;
    }
}

void note_offline(int32_t row, Build &build) SARN_REQUIRES(state_lock) {
    char state[sizeof device_info::Devicestate] = {};
    if (!read_ascii(Field::Sarnsignature_Devicestate, row, state, sizeof state)) build.is_whole = false;
    if (!note_state(row, state)) return;
    char timestamp[TIME_TEXT_SIZE] = {};
    if (!read_text(Field::DeviceIdList_Timestamp, row, timestamp, sizeof timestamp)) build.is_whole = false;
    add_gc_candidate(timestamp, row);
}

bool read_row_by_row(Build &build) SARN_REQUIRES(state_lock) {
    for (int32_t row = 0; row < ROW_COUNT; ++row) {
        if (!read_row_mac(row, build)) return false;
        if (!holds_device(row)) continue;
        keep_mirror(row, build);
        note_offline(row, build);
    }
    return true;
}

// In one snapshot nobody sees the order, and one field of all rows lies side by side.
bool read_field_by_field(Build &build) SARN_REQUIRES(state_lock) {
    int32_t read = 0;
    while (read < ROW_COUNT && read_row_mac(read, build)) ++read;
    for (int32_t row = 0; row < read; ++row) {
        if (holds_device(row)) keep_mirror(row, build);
    }
    for (int32_t row = 0; row < read; ++row) {
        if (holds_device(row)) note_offline(row, build);
    }
    return read == ROW_COUNT;
}

}  // namespace

bool is_build_running() { return __atomic_load_n(&mappingtablestatus, __ATOMIC_ACQUIRE) == 0; }

int32_t create_mapping_table_locked() {
    if (is_build_running()) return SARN_ERR_BUILD_RUNNING;
    begin_build();
    forget_build();
    bool all_read = false;
    {
        const ExportedMutex hold(mutex1);
        Build build;
        all_read = read_group([&]() SARN_REQUIRES(state_lock) {
            note_build_number();
            return has_groups() ? read_field_by_field(build) : read_row_by_row(build);
        });
        if (!all_read) SARN_LOG(MacUnreadable);
        mend_mirrors(build);
        if (!build.is_whole) forget_build_number();
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

}  // namespace sarn

int32_t create_mapping_table(void) {
    using namespace sarn;
    // The number before the status: whoever reads the number of a build that runs sees it run.
    const uint32_t begun = __atomic_load_n(&builds_begun, __ATOMIC_ACQUIRE);
    if (is_build_running()) return SARN_ERR_BUILD_RUNNING;
    const Exclusive hold(state_lock);
    // The lock may have been another's for a build that began just after the first look.
    if (__atomic_load_n(&builds_begun, __ATOMIC_RELAXED) != begun) return SARN_ERR_BUILD_RUNNING;
    return create_mapping_table_locked();
}
