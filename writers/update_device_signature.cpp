// A producer's report of what a device showed in its DHCP exchange and traffic: the one report that gives a new device
// a row. It stores the texts (an empty one clears interface and category and leaves the others), the state and the
// address, and stamps the row.
#include "core/address_text.h"
#include "core/bounded_text.h"
#include "core/call.h"
#include "core/entry_gate.h"
#include "core/group.h"
#include "core/log.h"
#include "core/mapping_table.h"
#include "core/offline_cleanup.h"
#include "core/row_bitmap.h"
#include "core/store.h"
#include "core/time_text.h"
#include "include/sarn.h"
#include "writers/reporter_check.h"

namespace sarn {

namespace {

int32_t accept_report(signature_request &request);
int32_t check_texts(const signature_record &record);
int32_t store_report(signature_request &request);
bool store_beside_readers(signature_request &request);
GroupEnd write_row(int32_t row, const signature_request &request, const TimeText &now) SARN_REQUIRES_SHARED(state_lock);
void write_texts(int32_t row, const signature_record &record) SARN_REQUIRES_SHARED(state_lock);
void note_reported_state(int32_t row, const char *state, const TimeText &now) SARN_REQUIRES(state_lock);

int32_t accept_report(signature_request &request) {
    const int32_t accepted = check_reporter(request.producer_id);
    if (accepted != SARN_OK) return accepted;
    const int32_t checked = check_texts(request.record);
    return checked == SARN_OK ? store_report(request) : checked;
}

int32_t check_texts(const signature_record &record) {
    const MacText mac(record.mac);
    if (!mac_sanity_check(mac.text)) {
        SARN_LOG(SignatureMacRefused, mac.text);
        return SARN_ERR_MAC;
    }
    SARN_LOG(MacAccepted);

    const BoundedText<sizeof record.ip> ip(record.ip);
    BoundedText<sizeof record.ip> taken_apart = ip;
    if (!is_terminated(record.ip) || is_valid_ip(taken_apart.text) == 0) {
        SARN_LOG(SignatureIpRefused, ip.text);
        return SARN_ERR_IP;
    }
    SARN_LOG(SignatureIpAccepted);

    const bool is_every_text_terminated = is_terminated(record.hua) && is_terminated(record.dhcp_hostname) &&
                                          is_terminated(record.dhcp_vendor) && is_terminated(record.dhcp_options) &&
                                          is_terminated(record.connection_interface) &&
                                          is_terminated(record.category) && is_terminated(record.state);
    return is_every_text_terminated ? SARN_OK : SARN_ERR_UNTERMINATED;
}

int32_t store_report(signature_request &request) {
    if (store_beside_readers(request)) return SARN_OK;
    const Exclusive hold(state_lock);
    int32_t row = SARN_ERR_NO_ROW;
    // Another process may remove the device between the look-up and the write: then it is a new one.
    for (int32_t attempt = 0; attempt < ROW_COUNT; ++attempt) {
        row = check_update_mapping_table_locked(request.record.mac, request.producer_id);
        if (!is_row(row)) break;
        // One time for both, as a rebuild would find it.
        const TimeText now = current_time_text();
        const GroupEnd end = write_row(row, request, now);
        if (end == GroupEnd::Kept) note_reported_state(row, request.record.state, now);
        if (end != GroupEnd::Dropped) break;
        row = SARN_ERR_NO_ROW;
        if (sync_global_data() != SARN_OK) break;
    }
    if (!is_row(row)) SARN_LOG(SignatureWithoutRow, row);
    // Also without a row: a full table may be the reason.
    clean_up_after_report();
    return is_row(row) ? SARN_OK : SARN_ERR_NO_ROW;
}

// The report of a device that is known and neither was nor is offline: nothing changes but its row in the store.
bool store_beside_readers(signature_request &request) {
    const Shared hold(state_lock);
    const int32_t row = find_known_row(request.record.mac);
    if (!is_row(row) || has_row(offline_bitmap, row) || is_offline_state(request.record.state)) return false;
    tell_known_row(request.record.mac, request.producer_id);
    return write_row(row, request, current_time_text()) != GroupEnd::Dropped;
}

GroupEnd write_row(int32_t row, const signature_request &request, const TimeText &now) {
    return write_group([&]() SARN_REQUIRES_SHARED(state_lock) {
        if (!holds_known_device(row)) return false;
        write_texts(row, request.record);
        (void)write_text(Field::Sarnsignature_Devicestate, row, request.record.state);
        (void)write_number(Field::Sarnsignature_Producerid, row, request.producer_id);
        (void)write_text(Field::Sarnsignature_DeviceIP, row, request.record.ip);
        (void)write_text(Field::DeviceIdList_Timestamp, row, now.text);
        (void)write_number(Field::Sarnsignature_SARNSignatureUpdateStatus, row, 1);
        return true;
    });
}

void write_texts(int32_t row, const signature_record &record) {
    const bool has_options = record.dhcp_options[0] != '\0';
    if (has_options) (void)write_text(Field::Sarnsignature_DeviceDHCPOptions, row, record.dhcp_options);
    // A vendor class alone, without the options of its exchange, is not taken.
    if (has_options && record.dhcp_vendor[0] != '\0') {
        (void)write_text(Field::Sarnsignature_DeviceDHCPVendor, row, record.dhcp_vendor);
    }
    if (record.dhcp_hostname[0] != '\0') {
        (void)write_text(Field::Sarnsignature_DeviceDHCPHostname, row, record.dhcp_hostname);
        (void)write_text(Field::DeviceIdList_DeviceHostname, row, record.dhcp_hostname);
        (void)write_text(Field::DeviceIdList_DisplayNameDPI, row, record.dhcp_hostname);
    }
    if (record.hua[0] != '\0') (void)write_text(Field::Sarnsignature_DeviceHua, row, record.hua);
    (void)write_text(Field::Sarnsignature_DeviceConnectionInterface, row, record.connection_interface);
    (void)write_text(Field::Sarnsignature_DeviceCategory, row, record.category);
}

void note_reported_state(int32_t row, const char *state, const TimeText &now) {
    if (note_state(row, state)) add_gc_candidate(now.text, row);
}

}  // namespace

}  // namespace sarn

int32_t update_device_signature(const signature_record *record, int32_t producer_id) {
    if (record == nullptr) return SARN_ERR_NULL_RECORD;
    signature_request request = {*record, producer_id};
    if (!sarn::go_through_gate(__func__)) return SARN_ERR_REBUILD;
    const sarn::WorkerResult worker = sarn::run_worker(update_device_signature_handler, &request);
    if (worker.error != 0) SARN_LOG(SignatureThreadFailed, worker.error);
    return worker.status;
}

void *update_device_signature_handler(void *request) {
    return sarn::finish_worker(request, sig_thread_exit_status, sarn::accept_report);
}
