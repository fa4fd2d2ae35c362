// A producer's report of how a device is connected: network, rates, signal, access point. It writes to devices that
// have a row and leaves their state alone.
#include "core/address_text.h"
#include "core/bounded_text.h"
#include "core/call.h"
#include "core/entry_gate.h"
#include "core/group.h"
#include "core/log.h"
#include "core/mapping_table.h"
#include "core/offline_cleanup.h"
#include "core/store.h"
#include "include/sarn.h"
#include "writers/reporter_check.h"

namespace sarn {

namespace {

int32_t accept_connection(const connected_device_request &request);
int32_t check_texts(const connected_device_record &record);
int32_t store_connection(const connected_device_record &record);
bool store_beside_readers(const char *mac, const connected_device_record &record);
GroupEnd write_row(int32_t row, const connected_device_record &record) SARN_REQUIRES_SHARED(state_lock);
void write_texts(int32_t row, const connected_device_record &record) SARN_REQUIRES_SHARED(state_lock);

int32_t accept_connection(const connected_device_request &request) {
    const int32_t accepted = check_reporter(request.producer_id);
    if (accepted != SARN_OK) return accepted;
    const int32_t checked = check_texts(request.record);
    return checked == SARN_OK ? store_connection(request.record) : checked;
}

int32_t check_texts(const connected_device_record &record) {
    const MacText mac(record.mac);
    if (!mac_sanity_check(mac.text)) {
        SARN_LOG(ConnectionMacRefused, mac.text);
        return SARN_ERR_MAC;
    }
    SARN_LOG(MacAccepted);
    const bool is_every_text_terminated = is_terminated(record.ssid) && is_terminated(record.link_rate) &&
                                          is_terminated(record.download_bw) && is_terminated(record.upload_bw) &&
                                          is_terminated(record.signal_strength);
    return is_every_text_terminated ? SARN_OK : SARN_ERR_UNTERMINATED;
}

int32_t store_connection(const connected_device_record &record) {
    MacText mac(record.mac);
    upper_case(mac.text, sizeof record.mac);

    if (store_beside_readers(mac.text, record)) return SARN_OK;
    const Exclusive hold(state_lock);
    int32_t row = 0;
    if (!check_mac_pre_existing(mac.text, &row) || write_row(row, record) == GroupEnd::Dropped) {
        SARN_LOG(ConnectionWithoutRow, MacText(record.mac).text);
        return SARN_ERR_NO_ROW;
    }
    clean_up_after_report();
    return SARN_OK;
}

// Nothing changes but the device's row in the store.
bool store_beside_readers(const char *mac, const connected_device_record &record) {
    const Shared hold(state_lock);
    const int32_t row = find_known_row(mac);
    if (!is_row(row)) return false;
    log_lookup(mac);
    return write_row(row, record) != GroupEnd::Dropped;
}

GroupEnd write_row(int32_t row, const connected_device_record &record) {
    return write_group([&]() SARN_REQUIRES_SHARED(state_lock) {
        if (!holds_known_device(row)) return false;
        write_texts(row, record);
        return true;
    });
}

void write_texts(int32_t row, const connected_device_record &record) {
    (void)write_text(Field::ConnectDeviceinfo_ConnSSID, row, record.ssid);
    (void)write_text(Field::ConnectDeviceinfo_DeviceLinkRate, row, record.link_rate);
    (void)write_text(Field::ConnectDeviceinfo_DownloadBW, row, record.download_bw);
    (void)write_text(Field::ConnectDeviceinfo_UploadBW, row, record.upload_bw);
    (void)write_text(Field::ConnectDeviceinfo_DeviceSignalStrength, row, record.signal_strength);
    (void)write_text(Field::ConnectDeviceinfo_ConnAPMac, row, MacText(record.ap_mac).text);
}

}  // namespace

}  // namespace sarn

int32_t update_connected_device_info(const connected_device_record *record, int32_t producer_id) {
    if (record == nullptr) return SARN_ERR_NULL_RECORD;
    const connected_device_request request = {*record, producer_id};
    if (!sarn::go_through_gate(__func__)) return SARN_ERR_REBUILD;
    const sarn::WorkerResult worker = sarn::run_worker(update_connected_device_info_handler, &request);
    if (worker.error != 0) SARN_LOG(ConnectionThreadFailed, worker.error);
    return worker.status;
}

void *update_connected_device_info_handler(void *request) {
    return sarn::finish_worker(request, sig_thread_exit_status, sarn::accept_connection);
}
