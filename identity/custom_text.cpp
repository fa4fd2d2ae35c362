#include "identity/custom_text.h"

#include "core/bounded_text.h"
#include "core/call.h"
#include "core/change_notice.h"
#include "core/entry_gate.h"
#include "core/group.h"
#include "core/log.h"
#include "core/mapping_table.h"
#include "core/store.h"
#include "identity/display_request.h"
#include "identity/post_processor_flags.h"

namespace sarn {

int32_t store_custom_text(const CustomText &kind, display_request &request) {
    const int32_t checked = check_identity_caller(request.producer_id);
    if (checked != SARN_OK) return checked;

    const Exclusive hold(state_lock);
    const int32_t row = check_update_mapping_table_locked(request.mac, SARN_PRODUCER_LOOKUP_ONLY);
    if (row < 0) return refuse_unknown_device(request);
    if (kind.log_row != nullptr) kind.log_row(row);

    // While the recogniser's name stage holds, the caller's text is not taken.
    const BoundedText<sizeof request.model - 1> text(is_set(FingPostProcessorName) ? "" : request.*kind.text);
    const bool is_announced = is_change_announced(request.producer_id);
    const GroupEnd end = write_group([&]() SARN_REQUIRES(state_lock) {
        if (!holds_known_device(row)) return false;
        (void)write_text(kind.field, row, text.text);
        if (is_announced) announce_device_change(row);
        return true;
    });
    if (end == GroupEnd::Dropped) return refuse_unknown_device(request);
    if (is_announced) kind.log_announced();
    return SARN_OK;
}

int32_t update_custom_text(const char *operation, const CustomText &kind, void *(*handler)(void *), const char *mac,
                           const char *text, int32_t length, int32_t producer_id) {
    if (!go_through_gate(operation)) return SARN_ERR_REBUILD;
    display_request request = {};
    const int32_t filled = fill_display_request(request, kind.text, mac, text, length, producer_id);
    if (filled != SARN_OK) return filled;
    const WorkerResult worker = run_worker(handler, &request);
    if (worker.error != 0) SARN_LOG(CustomTextThreadFailed, worker.error);
    return worker.status;
}

}  // namespace sarn
