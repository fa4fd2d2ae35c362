// Reading the device of a row.
#include "core/call.h"
#include "core/entry_gate.h"
#include "core/log.h"
#include "core/state.h"
#include "include/sarn.h"
#include "queries/device_info_record.h"

namespace sarn {

namespace {

int32_t fill_record(const device_info_request &request) {
    if (request.record == nullptr) return SARN_ERR_NULL_RECORD;
    SARN_LOG(QueryBegins, "get_device_info_handler", __LINE__, static_cast<int32_t>(request.index));
    const int32_t row = static_cast<int32_t>(request.index);
    if (!is_row(row)) return SARN_ERR_ROW_RANGE;

    const Shared hold(state_lock);
    if (!require_initialised()) return SARN_ERR_NOT_INITIALISED;
    return read_device_info(*request.record, row, Asked::ForRow);
}

}  // namespace

}  // namespace sarn

int32_t get_device_info_at_index(device_info *record, uint32_t index) {
    if (!sarn::go_through_gate_silently()) return SARN_ERR_REBUILD;
    const device_info_request request = {record, index};
    const sarn::WorkerResult worker = sarn::run_worker(get_device_info_handler, &request);
    if (worker.error != 0) SARN_LOG(QueryThreadFailed, worker.error);
    return worker.status;
}

void *get_device_info_handler(void *request) {
    return sarn::finish_worker(request, sig_thread_exit_status, sarn::fill_record);
}
