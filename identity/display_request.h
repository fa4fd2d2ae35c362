// What the four display operations share: the request, its filling, and the refusals that come first.
#ifndef SARN_IDENTITY_DISPLAY_REQUEST_H
#define SARN_IDENTITY_DISPLAY_REQUEST_H

#include <stddef.h>
#include <string.h>

#include "core/state.h"
#include "identity/caller_check.h"

namespace sarn {

// Fills one text of the request, cut to its width, with the MAC and the producer id. SARN_OK, or SARN_ERR_TEXT.
template <size_t Width>
int32_t fill_display_request(display_request &request, char (display_request::*member)[Width], const char *mac,
                             const char *text, int32_t length, int32_t producer_id) {
    constexpr size_t LIMIT = Width - 1;
    // A negative length is far over the limit.
    if (mac == nullptr || text == nullptr || static_cast<uint32_t>(length) > LIMIT) return SARN_ERR_TEXT;
    request.producer_id = producer_id;
    memcpy(request.*member, text, strnlen(text, LIMIT));
    memcpy(request.mac, mac, strnlen(mac, sizeof request.mac));
    return SARN_OK;
}

// The refusal of a MAC without a row, logged: SARN_ERR_UNKNOWN_DEVICE.
int32_t refuse_unknown_device(const display_request &request);

}  // namespace sarn

#endif
