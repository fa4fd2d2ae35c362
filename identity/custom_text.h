// The user's model and brand: one operation, and what differs between the two.
#ifndef SARN_IDENTITY_CUSTOM_TEXT_H
#define SARN_IDENTITY_CUSTOM_TEXT_H

#include <stdint.h>

#include "core/schema.h"
#include "include/sarn.h"

namespace sarn {

struct CustomText {
    char (display_request::*text)[33];
    Field field;
    void (*log_row)(int32_t row);  // null: the row is not logged
    void (*log_announced)();
};

int32_t store_custom_text(const CustomText &kind, display_request &request);

// The public call around a handler that ends in store_custom_text.
int32_t update_custom_text(const char *operation, const CustomText &kind, void *(*handler)(void *), const char *mac,
                           const char *text, int32_t length, int32_t producer_id);

}  // namespace sarn

#endif
