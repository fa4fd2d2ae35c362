// The user's name for a device; with it the composed name, built from what recognition stored, is brought up to date.
#include <stdio.h>

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

uint8_t FingPostProcessorName = 0;

namespace sarn {

namespace {

constexpr size_t BRAND_SIZE = spec_of(Field::DeviceIdList_DeviceBrand).width;
constexpr size_t MODEL_SIZE = spec_of(Field::DeviceIdList_DeviceModel).width;
constexpr size_t VENDOR_SIZE = spec_of(Field::DeviceIdList_DeviceMacVendor).width;

// Brand and model and the dash between them.
struct ComposedName {
    char text[BRAND_SIZE + MODEL_SIZE];
};
static_assert(sizeof(ComposedName) >= VENDOR_SIZE, "a vendor alone is a name too");

int32_t store_name(display_request &request);
int32_t refuse();
ComposedName compose_name(int32_t row, const char *mac) SARN_REQUIRES(state_lock);
bool write_custom_name(int32_t row, const display_request &request) SARN_REQUIRES(state_lock);
bool write_composed_name(int32_t row, const char *mac, ComposedName &composed) SARN_REQUIRES(state_lock);

int32_t store_name(display_request &request) {
    const int32_t checked = check_identity_caller(request.producer_id);
    if (checked != SARN_OK) return checked;

    const Exclusive hold(state_lock);
    const int32_t row = check_update_mapping_table_locked(request.mac, SARN_PRODUCER_LOOKUP_ONLY);
    if (row < 0) return refuse();
    SARN_LOG(NameRow, row);
    ComposedName composed = {};
    const BoundedText<MAC_TEXT_LENGTH> mac(request.mac);
    if (!has_groups()) composed = compose_name(row, mac.text);
    if (is_set(FingPostProcessorName)) return write_composed_name(row, mac.text, composed) ? SARN_OK : refuse();
    if (!write_custom_name(row, request)) return refuse();
    // The custom name is written and announced: a device that is removed just now does not take that back.
    (void)write_composed_name(row, mac.text, composed);
    return SARN_OK;
}

int32_t refuse() {
    SARN_LOG(NameWithoutRow);
    return SARN_ERR_UNKNOWN_DEVICE;
}

ComposedName compose_name(int32_t row, const char *mac) {
    char brand[BRAND_SIZE];
    char model[MODEL_SIZE];
    char vendor[VENDOR_SIZE];
    read_text_or_empty(Field::DeviceIdList_DeviceBrand, row, brand);
    read_text_or_empty(Field::DeviceIdList_DeviceModel, row, model);
    read_text_or_empty(Field::DeviceIdList_DeviceMacVendor, row, vendor);

    ComposedName name = {};
    const bool has_both = brand[0] != '\0' && model[0] != '\0';
    if (brand[0] != '\0' || model[0] != '\0') {
        (void)snprintf(name.text, sizeof name.text, "%s%s%s", brand, has_both ? "-" : "", model);
    } else if (vendor[0] != '\0') {
        (void)snprintf(name.text, sizeof name.text, "%s", vendor);
    } else {
        constexpr int LAST_THREE_GROUPS = 9;
        (void)snprintf(name.text, sizeof name.text, "DEV-%s", mac + LAST_THREE_GROUPS);
    }
    return name;
}

// False when the row no longer holds the device.
bool write_custom_name(int32_t row, const display_request &request) {
    const BoundedText<sizeof request.display_name - 1> name(request.display_name);
    const bool is_announced = is_change_announced(request.producer_id);
    const GroupEnd end = write_group([&]() SARN_REQUIRES(state_lock) {
        if (!holds_known_device(row)) return false;
        (void)write_text(Field::DeviceIdList_DisplayNameCustom, row, name.text);
        if (is_announced) announce_device_change(row);
        return true;
    });
    if (end == GroupEnd::Dropped) return false;
    if (is_announced) SARN_LOG(NameAnnounced);
    return true;
}

// A group of its own: the notice of the custom name is logged between the two. In a group the name is composed of what
// nobody changes meanwhile.
bool write_composed_name(int32_t row, const char *mac, ComposedName &composed) {
    return write_group([&]() SARN_REQUIRES(state_lock) {
               if (!holds_known_device(row)) return false;
               if (has_groups()) composed = compose_name(row, mac);
               (void)write_text(Field::DeviceIdList_DisplayNameQuorvex, row, composed.text);
               return true;
           }) != GroupEnd::Dropped;
}

}  // namespace

}  // namespace sarn

int32_t update_device_displayname(const char *mac, const char *name, int32_t length, int32_t producer_id) {
    using namespace sarn;
    if (!go_through_gate(__func__)) return SARN_ERR_REBUILD;
    display_request request = {};
    const int32_t filled =
        fill_display_request(request, &display_request::display_name, mac, name, length, producer_id);
    if (filled != SARN_OK) return filled;
    const WorkerResult worker = run_worker(update_devicedisplayname_handler, &request);
    if (worker.error != 0) SARN_LOG(NameThreadFailed, worker.error);
    return worker.status;
}

void *update_devicedisplayname_handler(void *request) {
    return sarn::finish_worker(request, dd_thread_exit_status, sarn::store_name);
}
