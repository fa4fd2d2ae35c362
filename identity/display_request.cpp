#include "identity/display_request.h"

#include "core/bounded_text.h"
#include "core/log.h"
#include "core/producer_id.h"

namespace sarn {

int32_t check_display_request(const display_request &request) {
    if (!is_initialised()) {
        SARN_LOG(LibraryNotInitialised);
        return SARN_ERR_NOT_INITIALISED;
    }
    const int32_t accepted = check_producer_id(request.producer_id);
    if (accepted != SARN_OK) SARN_LOG(ProducerRefused, accepted);
    return accepted;
}

int32_t refuse_unknown_device(const display_request &request) {
    SARN_LOG(DisplayWithoutRow, MacText(request.mac).text);
    return SARN_ERR_UNKNOWN_DEVICE;
}

}  // namespace sarn
