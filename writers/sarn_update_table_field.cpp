// Changes one field of a device that has a row, chosen by a code. Most codes write one text; the state also updates the
// offline bookkeeping and announces changes of tagged devices, and the access decision is announced.
#include <string.h>

#include "core/address_text.h"
#include "core/bounded_text.h"
#include "core/call.h"
#include "core/change_notice.h"
#include "core/entry_gate.h"
#include "core/group.h"
#include "core/log.h"
#include "core/mapping_table.h"
#include "core/offline_cleanup.h"
#include "core/producer_id.h"
#include "core/store.h"
#include "core/time_text.h"
#include "include/sarn.h"

namespace sarn {

namespace {

// Every code writes its text to its field; three have more to do after that. Clang cannot follow a lock through a
// pointer: the state's alone needs it exclusively, and store_change sees to it.
struct Change {
    int32_t row;
    int32_t producer_id;
    const char *value;
};
using FollowUp = void (*)(const Change &change);

struct FieldCode {
    Field field;
    bool is_empty_skipped;
    FollowUp follow_up;
};

int32_t accept_change(table_field_request &request);
int32_t store_change(table_field_request &request);
int32_t write_value(int32_t row, const table_field_request &request) SARN_REQUIRES_SHARED(state_lock);
bool is_ap_mac_accepted(const char *value, bool has_end);
void copy_hostname(const Change &change) SARN_REQUIRES_SHARED(state_lock);
void note_new_state(const Change &change) SARN_REQUIRES(state_lock);
void announce_tagged_state(int32_t row, const char *state, const char *tag) SARN_REQUIRES_SHARED(state_lock);
void announce_access(const Change &change) SARN_REQUIRES_SHARED(state_lock);

constexpr FieldCode FIELD_CODES[] = {
    /*  1 */ {Field::Sarnsignature_DeviceHua, true, nullptr},
    /*  2 */ {Field::Sarnsignature_DeviceDHCPOptions, true, nullptr},
    /*  3 */ {Field::Sarnsignature_DeviceDHCPHostname, true, copy_hostname},
    /*  4 */ {Field::Sarnsignature_DeviceDHCPVendor, true, nullptr},
    /*  5 */ {Field::Sarnsignature_DeviceIP, false, nullptr},
    /*  6 */ {Field::Sarnsignature_Devicestate, false, note_new_state},
    /*  7 */ {Field::Sarnsignature_DeviceConnectionInterface, false, nullptr},
    /*  8 */ {Field::DeviceIdList_DeviceTypeCustom, false, nullptr},
    /*  9 */ {Field::DeviceIdList_DisplayNameCustom, false, nullptr},
    /* 10 */ {Field::Sarnsignature_IsTagged, false, nullptr},
    /* 11 */ {Field::DeviceIdList_DisplayModelCustom, false, nullptr},
    /* 12 */ {Field::Sarnsignature_AllowOrBlock, false, announce_access},
    /* 13 */ {Field::ConnectDeviceinfo_ConnSSID, false, nullptr},
    /* 14 */ {Field::ConnectDeviceinfo_DeviceLinkRate, false, nullptr},
    /* 15 */ {Field::ConnectDeviceinfo_DownloadBW, false, nullptr},
    /* 16 */ {Field::ConnectDeviceinfo_UploadBW, false, nullptr},
    /* 17 */ {Field::ConnectDeviceinfo_DeviceSignalStrength, false, nullptr},
    /* 18 */ {Field::ConnectDeviceinfo_ConnAPMac, false, nullptr},
    /* 19 */ {Field::DeviceIdList_DisplayBrandCustom, false, nullptr},
    /* 20 */ {Field::Sarnsignature_DeviceCategory, false, nullptr},
    /* 21 */ {Field::DeviceIdList_DeviceUUID, false, nullptr},
};
constexpr int32_t FIRST_CODE = SARN_FIELD_HUA;
constexpr int32_t LAST_CODE = SARN_FIELD_UUID;
static_assert(sizeof FIELD_CODES / sizeof FIELD_CODES[0] == LAST_CODE - FIRST_CODE + 1, "each code has its row");

constexpr bool is_field_code(int32_t code) { return code >= FIRST_CODE && code <= LAST_CODE; }
constexpr bool is_value_length(int32_t length) { return length > 0 && length <= SARN_VALUE_MAX; }

int32_t accept_change(table_field_request &request) {
    if (!is_initialised()) {
        SARN_LOG(NotInitialised);
        return SARN_ERR_NOT_INITIALISED;
    }
    if (!is_value_length(request.length)) return SARN_ERR_LENGTH;
    const MacText mac(request.mac);
    if (!mac_sanity_check(mac.text)) {
        SARN_LOG(FieldMacRefused, mac.text);
        return SARN_ERR_MAC;
    }
    SARN_LOG(MacAccepted);
    if (!is_field_code(request.field_code)) {
        SARN_LOG(FieldCodeRefused, request.field_code);
        return SARN_ERR_FIELD_CODE;
    }
    return store_change(request);
}

int32_t store_change(table_field_request &request) {
    // Only a state changes what this process knows: the others are written beside readers, where the row is known.
    if (request.field_code != SARN_FIELD_STATE) {
        const Shared hold(state_lock);
        const int32_t row = find_known_row(request.mac);
        if (is_row(row)) {
            tell_known_row(request.mac, SARN_PRODUCER_LOOKUP_ONLY);
            return write_value(row, request);
        }
    }
    const Exclusive hold(state_lock);
    const int32_t row = check_update_mapping_table_locked(request.mac, SARN_PRODUCER_LOOKUP_ONLY);
    if (!is_row(row)) {
        SARN_LOG(FieldWithoutRow, row);
        return SARN_ERR_NO_ROW;
    }
    return write_value(row, request);
}

int32_t write_value(int32_t row, const table_field_request &request) {
    char value[SARN_VALUE_MAX] = {};
    const size_t length = strnlen(request.value, static_cast<size_t>(request.length));
    memcpy(value, request.value, length < sizeof value ? length : sizeof value - 1);

    const FieldCode &code = FIELD_CODES[request.field_code - FIRST_CODE];
    // An access point's address must bring its own end: what follows a cut one is unknown.
    const bool has_end = length < static_cast<size_t>(request.length);
    if (request.field_code == SARN_FIELD_AP_MAC && !is_ap_mac_accepted(value, has_end)) return SARN_ERR_MAC;
    if (code.is_empty_skipped && value[0] == '\0') return SARN_OK;

    const Change change = {row, request.producer_id, value};
    const GroupEnd end = write_group([&]() SARN_REQUIRES_SHARED(state_lock) {
        if (!holds_known_device(row)) return false;
        (void)write_text(code.field, row, value);
        if (code.follow_up != nullptr) code.follow_up(change);
        return true;
    });
    if (end == GroupEnd::Dropped) {
        SARN_LOG(FieldWithoutRow, SARN_ERR_LOOKUP_ONLY);
        return SARN_ERR_NO_ROW;
    }
    if (request.field_code == SARN_FIELD_ALLOW_OR_BLOCK && is_change_announced(request.producer_id)) {
        SARN_LOG(AccessAnnounced, value);
    }
    return SARN_OK;
}

bool is_ap_mac_accepted(const char *value, bool has_end) {
    if (!has_end || !mac_sanity_check(value)) {
        SARN_LOG(ApMacRefused, value);
        return false;
    }
    SARN_LOG(MacAccepted);
    return true;
}

void copy_hostname(const Change &change) {
    (void)write_text(Field::DeviceIdList_DeviceHostname, change.row, change.value);
    (void)write_text(Field::DeviceIdList_DisplayNameDPI, change.row, change.value);
}

void note_new_state(const Change &change) {
    char tag[8];
    read_text_or_empty(Field::Sarnsignature_IsTagged, change.row, tag);
    if (note_state(change.row, change.value)) {
        const TimeText now = current_time_text();
        (void)write_text(Field::DeviceIdList_Timestamp, change.row, now.text);
        add_gc_candidate(now.text, change.row);
    }
    announce_tagged_state(change.row, change.value, tag);
}

void announce_tagged_state(int32_t row, const char *state, const char *tag) {
    const bool is_tagged_for_both = is_one_of(tag, "BOTH", "both");
    const bool goes_down =
        is_one_of(state, "DOWN", "down") && (is_tagged_for_both || is_one_of(tag, "OFFLINE", "offline"));
    const bool comes_up = is_one_of(state, "UP", "up") && (is_tagged_for_both || is_one_of(tag, "ONLINE", "online"));
    if (goes_down || comes_up) (void)write_number(Field::BRIXNotifyDTN_Index, SINGLE_ROW, row);
}

void announce_access(const Change &change) {
    if (is_change_announced(change.producer_id)) announce_device_change(change.row);
}

}  // namespace

}  // namespace sarn

int32_t sarn_update_table_field(const char *mac, int32_t field_code, const void *value, int32_t length,
                                int32_t producer_id) {
    if (sarn::check_producer_id(producer_id) != SARN_OK) return SARN_ERR_PRODUCER;
    if (mac == nullptr) return SARN_ERR_MAC;
    if (!sarn::is_field_code(field_code)) return SARN_ERR_FIELD_CODE;
    if (value == nullptr || !sarn::is_value_length(length)) return SARN_ERR_LENGTH;

    table_field_request request = {};
    memcpy(request.mac, mac, strnlen(mac, sizeof request.mac));
    request.field_code = field_code;
    memcpy(request.value, value, strnlen(static_cast<const char *>(value), static_cast<size_t>(length)));
    request.length = length;
    request.producer_id = producer_id;
    if (!sarn::go_through_gate(__func__)) return SARN_ERR_REBUILD;
    const sarn::WorkerResult worker = sarn::run_worker(sarn_update_table_field_handler, &request);
    if (worker.error != 0) SARN_LOG(FieldThreadFailed, worker.error);
    return worker.status;
}

void *sarn_update_table_field_handler(void *request) {
    return sarn::finish_worker(request, sig_thread_exit_status, sarn::accept_change);
}
