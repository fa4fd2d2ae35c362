// Reading the device of a MAC.
#include <string.h>

#include "core/address_text.h"
#include "core/call.h"
#include "core/entry_gate.h"
#include "core/log.h"
#include "core/mapping_table.h"
#include "include/sarn.h"
#include "queries/device_info_record.h"

namespace sarn {

namespace {

int32_t fill_record(device_info_mac_request &request) {
    if (request.record == nullptr) return SARN_ERR_NULL_RECORD;
    {
        const Shared hold(state_lock);
        const int32_t row = find_known_row(request.mac);
        if (is_row(row)) {
            tell_known_row(request.mac, SARN_PRODUCER_LOOKUP_ONLY);
            return read_device_info(*request.record, row, Asked::ForDevice);
        }
    }
    const Exclusive hold(state_lock);
    if (!require_initialised()) return SARN_ERR_NOT_INITIALISED;
    const int32_t row = check_update_mapping_table_locked(request.mac, SARN_PRODUCER_LOOKUP_ONLY);
    if (!is_row(row)) return SARN_ERR_UNKNOWN_DEVICE;
    return read_device_info(*request.record, row, Asked::ForDevice);
}

}  // namespace

}  // namespace sarn

int32_t get_device_info_by_mac(device_info *record, const char *mac) {
    using namespace sarn;
    if (!go_through_gate(__func__)) return SARN_ERR_REBUILD;
    if (mac == nullptr || !mac_sanity_check(mac)) return SARN_ERR_MAC;
    device_info_mac_request request = {record, {}};
    memcpy(request.mac, mac, strnlen(mac, sizeof request.mac));
    const WorkerResult worker = run_worker(get_device_info_mac_handler, &request);
    if (worker.error != 0) SARN_LOG(QueryThreadFailed, worker.error);
    return worker.status;
}

void *get_device_info_mac_handler(void *request) {
    return sarn::finish_worker(request, sig_thread_exit_status, sarn::fill_record);
}
