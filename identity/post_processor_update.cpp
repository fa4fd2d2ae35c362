// The recogniser's second stage: the display type, then the display name. Each is the whole public call with a worker
// of its own, so nothing may be locked here.
#include "core/log.h"
#include "identity/post_processor.h"
#include "include/sarn.h"

namespace sarn {

namespace {

// The calls hold a length against their limit and nothing else; this one passes both.
constexpr int32_t ANY_LENGTH = 8;

}  // namespace

int32_t post_process(TypeUpdate update_type, const char *mac, const char *type, const char *name, int32_t producer_id) {
    const int32_t typed = update_type(mac, type, ANY_LENGTH, producer_id);
    if (typed != SARN_OK) {
        SARN_LOG(DisplayTypeFailed, typed);
        return SARN_ERR_POST_PROCESSING;
    }
    SARN_LOG(DisplayTypeUpdated);

    const int32_t named = update_device_displayname(mac, name, ANY_LENGTH, producer_id);
    if (named != SARN_OK) {
        SARN_LOG(DisplayNameFailed, named);
        return SARN_ERR_POST_PROCESSING;
    }
    SARN_LOG(DisplayNameUpdated);
    return SARN_OK;
}

}  // namespace sarn

int32_t post_processor_update(const char *mac, const char *type, const char *name, int32_t producer_id) {
    return sarn::post_process(update_device_displaytype, mac, type, name, producer_id);
}
