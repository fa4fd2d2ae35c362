// The user's brand for a device.
#include "core/call.h"
#include "core/log.h"
#include "identity/custom_text.h"

namespace sarn {

namespace {

void log_announced() { SARN_LOG(BrandAnnounced); }

constexpr CustomText BRAND = {&display_request::brand, Field::DeviceIdList_DisplayBrandCustom, nullptr, log_announced};

int32_t store_brand(display_request &request) { return store_custom_text(BRAND, request); }

}  // namespace

}  // namespace sarn

int32_t update_device_displaybrand(const char *mac, const char *brand, int32_t length, int32_t producer_id) {
    return sarn::update_custom_text(__func__, sarn::BRAND, update_devicedisplaybrand_handler, mac, brand, length,
                                    producer_id);
}

void *update_devicedisplaybrand_handler(void *request) {
    return sarn::finish_worker(request, dd_thread_exit_status, sarn::store_brand);
}
