#include "identity/display_request.h"

#include "core/bounded_text.h"
#include "core/log.h"

namespace sarn {

int32_t refuse_unknown_device(const display_request &request) {
    SARN_LOG(DisplayWithoutRow, MacText(request.mac).text);
    return SARN_ERR_UNKNOWN_DEVICE;
}

}  // namespace sarn
