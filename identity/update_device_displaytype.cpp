// A device's display type: the recogniser's key folds into one of the display types of the table, the user's own text
// is stored as it is.
#include <stdlib.h>
#include <string.h>

#include "core/bounded_text.h"
#include "core/call.h"
#include "core/change_notice.h"
#include "core/entry_gate.h"
#include "core/group.h"
#include "core/log.h"
#include "core/mapping_table.h"
#include "core/store.h"
#include "identity/device_type_table.h"
#include "identity/display_request.h"
#include "identity/post_processor.h"
#include "identity/post_processor_flags.h"

uint8_t FingPostProcessorType = 0;

namespace sarn {

namespace {

constexpr size_t TYPE_WIDTH = sizeof display_request::type;
constexpr size_t CALLERS_TEXT_SIZE = 64;

struct TypeChange {
    int32_t row;
    const char *callers_text;
    FoldedType type;
    bool is_recognisers;
    bool is_announced;
};

int32_t store_any_type(display_request &request);
int32_t store_recognised_type(display_request &request);
int32_t store_type(display_request &request, bool is_recognisers);
int32_t write_type(int32_t row, const display_request &request, const char *callers_text, bool is_recognisers)
    SARN_REQUIRES(state_lock);
void write_fields(const TypeChange &change) SARN_REQUIRES(state_lock);
bool is_notice_due(const TypeChange &change);

int32_t store_any_type(display_request &request) { return store_type(request, false); }

// Another detail update may have cleared the flag by now.
int32_t store_recognised_type(display_request &request) { return store_type(request, true); }

int32_t store_type(display_request &request, bool is_recognisers) {
    const int32_t checked = check_identity_caller(request.producer_id);
    if (checked != SARN_OK) return checked;

    const Exclusive hold(state_lock);
    const int32_t row = check_update_mapping_table_locked(request.mac, SARN_PRODUCER_LOOKUP_ONLY);
    if (row < 0) return refuse_unknown_device(request);

    // The header promises a scratch buffer and an answer for want of memory.
    char *callers_text = static_cast<char *>(malloc(CALLERS_TEXT_SIZE));
    if (callers_text == nullptr) {
        SARN_LOG(TypeWithoutMemory);
        return SARN_ERR_NO_MEMORY;
    }
    const BoundedText<TYPE_WIDTH> asked(request.type);
    memcpy(callers_text, asked.text, sizeof asked.text);
    const int32_t written = write_type(row, request, callers_text, is_recognisers);
    free(callers_text);
    return written;
}

int32_t write_type(int32_t row, const display_request &request, const char *callers_text, bool is_recognisers) {
    const TypeChange change = {row, callers_text, fold_device_type(callers_text),
                               is_recognisers || is_set(FingPostProcessorType),
                               is_change_announced(request.producer_id)};
    const GroupEnd end = write_group([&]() SARN_REQUIRES(state_lock) {
        if (!holds_known_device(row)) return false;
        write_fields(change);
        return true;
    });
    if (end == GroupEnd::Dropped) return refuse_unknown_device(request);
    if (is_notice_due(change)) SARN_LOG(TypeAnnounced);
    // After a type that is in no row, the recogniser's next one is still awaited.
    if (change.type.is_known) set_flag(FingPostProcessorType, 0);
    return SARN_OK;
}

void write_fields(const TypeChange &change) {
    if (!change.is_recognisers) {
        (void)write_text(Field::DeviceIdList_DeviceTypeCustom, change.row, change.callers_text);
        if (is_notice_due(change)) announce_device_change(change.row);
    } else if (change.type.is_known) {
        (void)write_text(Field::DeviceIdList_DeviceTypeQuorvex, change.row, change.type.display);
    } else {
        set_default_device_type(change.row);
    }
}

// A user's type that the table knows is not announced.
bool is_notice_due(const TypeChange &change) {
    return !change.is_recognisers && !change.type.is_known && change.is_announced;
}

int32_t change_type(void *(*handler)(void *), const char *mac, const char *type, int32_t length, int32_t producer_id) {
    if (!go_through_gate("update_device_displaytype")) return SARN_ERR_REBUILD;
    display_request request = {};
    const int32_t filled = fill_display_request(request, &display_request::type, mac, type, length, producer_id);
    if (filled != SARN_OK) return filled;
    const WorkerResult worker = run_worker(handler, &request);
    if (worker.error != 0) SARN_LOG(TypeThreadFailed, worker.error);
    return worker.status;
}

void *recognised_type_handler(void *request) {
    return finish_worker(request, dd_thread_exit_status, store_recognised_type);
}

}  // namespace

int32_t update_recognised_type(const char *mac, const char *type, int32_t length, int32_t producer_id) {
    return change_type(recognised_type_handler, mac, type, length, producer_id);
}

}  // namespace sarn

int32_t update_device_displaytype(const char *mac, const char *type, int32_t length, int32_t producer_id) {
    return sarn::change_type(update_devicedisplaytype_handler, mac, type, length, producer_id);
}

void *update_devicedisplaytype_handler(void *request) {
    return sarn::finish_worker(request, dd_thread_exit_status, sarn::store_any_type);
}
