// The user's model for a device.
#include "core/call.h"
#include "core/log.h"
#include "identity/custom_text.h"

namespace sarn {

namespace {

void log_row(int32_t row) { SARN_LOG(ModelRow, row); }
void log_announced() { SARN_LOG(ModelAnnounced); }

constexpr CustomText MODEL = {&display_request::model, Field::DeviceIdList_DisplayModelCustom, log_row, log_announced};

int32_t store_model(display_request &request) { return store_custom_text(MODEL, request); }

}  // namespace

}  // namespace sarn

int32_t update_device_displaymodel(const char *mac, const char *model, int32_t length, int32_t producer_id) {
    return sarn::update_custom_text(__func__, sarn::MODEL, update_devicedisplaymodel_handler, mac, model, length,
                                    producer_id);
}

void *update_devicedisplaymodel_handler(void *request) {
    return sarn::finish_worker(request, dd_thread_exit_status, sarn::store_model);
}
