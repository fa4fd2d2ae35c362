// A device's display type: the recogniser's key folds into one of the display types of the table, the user's own text
// is stored as it is.
#include <stdlib.h>
#include <string.h>

#include "core/bounded_text.h"
#include "core/call.h"
#include "core/change_notice.h"
#include "core/entry_gate.h"
#include "core/log.h"
#include "core/mapping_table.h"
#include "core/store.h"
#include "identity/device_type_table.h"
#include "identity/display_request.h"
#include "identity/post_processor_flags.h"

uint8_t FingPostProcessorType = 0;

namespace sarn {

namespace {

constexpr size_t TYPE_WIDTH = sizeof display_request::type;
constexpr size_t CALLERS_TEXT_SIZE = 64;

int32_t store_type(display_request &request);
void write_type(int32_t row, const char *callers_text, FoldedType &type, int32_t producer_id) SARN_REQUIRES(state_lock);
void write_unknown_type(int32_t row, const char *callers_text, int32_t producer_id) SARN_REQUIRES(state_lock);

int32_t store_type(display_request &request) {
    const int32_t checked = check_display_request(request);
    if (checked != SARN_OK) return checked;

    const Exclusive hold(state_lock);
    const int32_t row = check_update_mapping_table_locked(request.mac, SARN_PRODUCER_LOOKUP_ONLY);
    if (row < 0) {
        SARN_LOG(DisplayWithoutRow, MacText(request.mac).text);
        return SARN_ERR_UNKNOWN_DEVICE;
    }
    // Folding replaces the text, and the user's field gets what the caller wrote.
    char *callers_text = static_cast<char *>(malloc(CALLERS_TEXT_SIZE));
    if (callers_text == nullptr) {
        SARN_LOG(TypeWithoutMemory);
        return SARN_ERR_NO_MEMORY;
    }
    const BoundedText<TYPE_WIDTH> asked(request.type);
    memcpy(callers_text, asked.text, sizeof asked.text);
    FoldedType type = fold_device_type(asked.text);
    write_type(row, callers_text, type, request.producer_id);
    free(callers_text);
    return SARN_OK;
}

void write_type(int32_t row, const char *callers_text, FoldedType &type, int32_t producer_id) {
    const bool is_recognisers = is_set(FingPostProcessorType);
    if (!type.is_known) {
        // The recogniser's next type is still awaited: the flag stays.
        if (is_recognisers) return set_default_device_type(row);
        return write_unknown_type(row, callers_text, producer_id);
    }
    if (is_recognisers) {
        (void)write_text(Field::DeviceIdList_DeviceTypeQuorvex, row, type.display);
    } else {
        (void)write_text(Field::DeviceIdList_DeviceTypeCustom, row, callers_text);
    }
    set_flag(FingPostProcessorType, 0);
}

void write_unknown_type(int32_t row, const char *callers_text, int32_t producer_id) {
    (void)write_text(Field::DeviceIdList_DeviceTypeCustom, row, callers_text);
    if (announce_device_change(row, producer_id)) SARN_LOG(TypeAnnounced);
}

}  // namespace

}  // namespace sarn

int32_t update_device_displaytype(const char *mac, const char *type, int32_t length, int32_t producer_id) {
    using namespace sarn;
    if (!is_entry_gate_passed(__func__)) return SARN_ERR_REBUILD;
    display_request request = {};
    const int32_t filled = fill_display_request(request, &display_request::type, mac, type, length, producer_id);
    if (filled != SARN_OK) return filled;
    const WorkerResult worker = run_worker(update_devicedisplaytype_handler, &request);
    if (worker.error != 0) SARN_LOG(TypeThreadFailed, worker.error);
    return worker.status;
}

void *update_devicedisplaytype_handler(void *request) {
    sarn::finish_worker(request, dd_thread_exit_status, sarn::store_type);
}
