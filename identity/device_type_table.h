// The recogniser's keys and the display types into which they fold.
#ifndef SARN_IDENTITY_DEVICE_TYPE_TABLE_H
#define SARN_IDENTITY_DEVICE_TYPE_TABLE_H

#include <stdint.h>

#include "core/state.h"

namespace sarn {

struct FoldedType {
    char display[65];
    bool is_known;
};

// Walks the whole table: a key becomes its display type, at its first row; a display type is itself; anything else is
// not known. `text` is at most 64 characters.
FoldedType fold_device_type(const char *text);

// A row without a recognised type gets the general one.
void set_default_device_type(int32_t row) SARN_REQUIRES_SHARED(state_lock);

}  // namespace sarn

#endif
