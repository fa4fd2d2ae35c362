// Keys of the store. Field before row, so that one field of all rows lies side by side and a walk over the rows stays
// on a few neighbouring pages; bytes compare as numbers do.
#ifndef KORA_KEY_H
#define KORA_KEY_H

#include <stdint.h>

#include "core/schema.h"

namespace kora {

struct Key {
    uint8_t field;
    uint8_t row;
};
static_assert(sizeof(Key) == 2 && alignof(Key) == 1, "the bytes of a Key are the key");
static_assert(sarn::ROW_COUNT <= 256);

// Field number of what the layer keeps for itself, out of the schema's range; the row tells which.
inline constexpr uint8_t OWN_FIELD = 0xff;
static_assert(sarn::FIELD_COUNT <= OWN_FIELD);

inline constexpr Key FORMAT_KEY = {OWN_FIELD, 0};
inline constexpr Key CHANGES_KEY = {OWN_FIELD, 1};  // the change number, 8 bytes
inline constexpr Key SAVED_KEY = {OWN_FIELD, 2};    // when a save was last begun, in ns of the monotonic clock

}  // namespace kora

#endif
