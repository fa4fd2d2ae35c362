// What device recognition found of a device that has a row. Display type and name are derived from it at once, and the
// first time for a row BRIX is told of a new device.
#include "core/address_text.h"
#include "core/bounded_text.h"
#include "core/call.h"
#include "core/entry_gate.h"
#include "core/group.h"
#include "core/log.h"
#include "core/mapping_table.h"
#include "core/offline_cleanup.h"
#include "core/store.h"
#include "core/time_text.h"
#include "identity/caller_check.h"
#include "identity/new_device_notice.h"
#include "identity/post_processor.h"
#include "identity/post_processor_flags.h"
#include "include/sarn.h"

uint8_t ndnEnableFlag = 0;
uint8_t ndnEventStatus = 0;

namespace sarn {

namespace {

int32_t accept_detail(const device_detail_request &request);
int32_t check_texts(const device_detail_record &record);
int32_t store_detail(const device_detail_request &request);
int32_t write_row_of(const device_detail_request &request) SARN_REQUIRES(state_lock);
bool derive_display(const device_detail_request &request);
void notify_once(int32_t row) SARN_REQUIRES(state_lock);
bool is_notified_meanwhile(int32_t row) SARN_REQUIRES(state_lock);
void read_flag(Field field, int32_t row, uint8_t &flag) SARN_REQUIRES(state_lock);

int32_t accept_detail(const device_detail_request &request) {
    const int32_t accepted = check_identity_caller(request.producer_id);
    if (accepted != SARN_OK) return accepted;
    const int32_t checked = check_texts(request.record);
    return checked == SARN_OK ? store_detail(request) : checked;
}

int32_t check_texts(const device_detail_record &record) {
    const MacText mac(record.mac);
    if (!mac_sanity_check(mac.text)) {
        SARN_LOG(DetailMacRefused, mac.text);
        return SARN_ERR_MAC;
    }
    SARN_LOG(MacAccepted);
    const bool is_every_text_terminated = is_terminated(record.mac_vendor) && is_terminated(record.model) &&
                                          is_terminated(record.os) && is_terminated(record.brand) &&
                                          is_terminated(record.type);
    return is_every_text_terminated ? SARN_OK : SARN_ERR_UNTERMINATED;
}

int32_t store_detail(const device_detail_request &request) {
    int32_t row = 0;
    {
        const Exclusive hold(state_lock);
        row = write_row_of(request);
    }
    if (!is_row(row)) {
        SARN_LOG(DetailWithoutRow, MacText(request.record.mac).text);
        return SARN_ERR_NO_ROW;
    }
    // The display operations run workers of their own, which need the lock.
    const bool is_derived = derive_display(request);

    const Exclusive hold(state_lock);
    if (is_derived) {
        SARN_LOG(PostProcessorDone, row);
        // Between the steps the row may have been freed, or become another device's.
        MacText mac(request.record.mac);
        upper_case(mac.text, sizeof request.record.mac);
        if (is_same_mac(mapping_table[row].MACData, mac.text)) notify_once(row);
    }
    clean_up_after_detail();
    return SARN_OK;
}

int32_t write_row_of(const device_detail_request &request) {
    const device_detail_record &record = request.record;
    MacText mac(record.mac);
    upper_case(mac.text, sizeof record.mac);
    int32_t row = 0;
    if (!check_mac_pre_existing(mac.text, &row)) return SARN_ERR_NO_ROW;
    const GroupEnd end = write_group([&]() SARN_REQUIRES(state_lock) {
        if (!holds_known_device(row)) return false;
        (void)write_text(Field::DeviceIdList_DeviceModel, row, record.model);
        (void)write_text(Field::DeviceIdList_DeviceBrand, row, record.brand);
        (void)write_text(Field::DeviceIdList_DeviceOS, row, record.os);
        (void)write_text(Field::DeviceIdList_DeviceTypeDPI, row, record.type);
        (void)write_text(Field::DeviceIdList_DeviceMacVendor, row, record.mac_vendor);
        (void)write_text(Field::DeviceIdList_Timestamp, row, current_time_text().text);
        (void)write_number(Field::DeviceIdList_Producerid, row, request.producer_id);
        return true;
    });
    return end == GroupEnd::Dropped ? SARN_ERR_NO_ROW : row;
}

bool derive_display(const device_detail_request &request) {
    set_flag(FingPostProcessorName, 1);
    set_flag(FingPostProcessorType, 1);
    return post_process(update_recognised_type, MacText(request.record.mac).text, request.record.type, "",
                        request.producer_id) == SARN_OK;
}

void notify_once(int32_t row) {
    read_flag(Field::FeatureCfg_NDNEnable, SINGLE_ROW, ndnEnableFlag);
    read_flag(Field::Sarnsignature_NDNEventStatus, row, ndnEventStatus);
    SARN_LOG(NdnStatusRead, flag_value(ndnEventStatus), row);
    if (!is_set(ndnEnableFlag) || is_set(ndnEventStatus)) {
        SARN_LOG(NdnNotDue);
        return;
    }
    SARN_LOG(NdnNotifies);
    log_brix_notice();
    const GroupEnd end = write_group([&]() SARN_REQUIRES(state_lock) {
        if (!holds_known_device(row) || is_notified_meanwhile(row)) return false;
        write_brix_notice(static_cast<uint32_t>(row));
        (void)write_number(Field::Sarnsignature_NDNEventStatus, row, 1);
        return true;
    });
    if (end != GroupEnd::Dropped) SARN_LOG(NdnNotified, row);
}

// By another process, since the flag was read.
bool is_notified_meanwhile(int32_t row) {
    uint8_t is_notified = 0;
    return has_groups() && read_bool(Field::Sarnsignature_NDNEventStatus, row, &is_notified) && is_notified != 0;
}

// A flag that cannot be read keeps its last value.
void read_flag(Field field, int32_t row, uint8_t &flag) {
    uint8_t value = 0;
    if (read_bool(field, row, &value)) set_flag(flag, value);
}

}  // namespace

}  // namespace sarn

int32_t update_device_detail(const device_detail_record *record, int32_t producer_id) {
    using namespace sarn;
    if (record == nullptr) return SARN_ERR_NULL_RECORD;
    const device_detail_request request = {*record, producer_id};
    if (!rebuild_first(__func__)) return SARN_ERR_REBUILD;
    const WorkerResult worker = run_worker(update_device_detail_handler, &request);
    if (worker.error != 0) SARN_LOG(DetailThreadFailed, worker.error);
    return worker.status;
}

void *update_device_detail_handler(void *request) {
    return sarn::finish_worker(request, dd_thread_exit_status, sarn::accept_detail);
}
