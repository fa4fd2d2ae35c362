// A cursor that knows where it stands, so that the rows of one field, read in order, are steps of it and not searches.
#ifndef KORA_WALK_H
#define KORA_WALK_H

#include <lmdb.h>

#include "kora_key.h"
#include "kora_schema.h"

namespace kora {

struct Place {
    sarn::Field field;
    uint8_t row;
};

inline Key key_of(Place place) { return {static_cast<uint8_t>(place.field), place.row}; }

// Keys as numbers, in their order. The cursor stands at `at`, and no key lies from `from` up to it.
struct Walk {
    static constexpr uint32_t END = 0x10000;

    MDB_cursor *cursor = nullptr;
    uint32_t from = END;
    uint32_t at = 0;
    Bytes stored = {};  // at `at`, its check included; points into the snapshot
};

inline void forget_position(Walk &walk) {
    walk.from = Walk::END;
    walk.at = 0;
}

inline uint32_t number_of(Key key) { return static_cast<uint32_t>(key.field << 8 | key.row); }

// Stored behind each value. No operation looks at it; the check of the whole file at the first opening does.
uint32_t check_of(Key key, const void *value, size_t size);
inline constexpr size_t CHECK_SIZE = sizeof(uint32_t);

// Moves to the key, or to the one after it.
int seek(Walk &walk, Key wanted);

// The value points into the snapshot of the cursor's transaction. MDB_NOTFOUND when the key is not there.
inline int find_key(Walk &walk, Key key, Bytes &out_value) {
    const uint32_t number = number_of(key);
    if (number < walk.from || number > walk.at) {
        const int error = seek(walk, key);
        if (error != 0) return error;
    }
    if (number != walk.at) return MDB_NOTFOUND;
    if (walk.stored.size < CHECK_SIZE) return MDB_CORRUPTED;
    out_value = {walk.stored.data, walk.stored.size - CHECK_SIZE};
    return 0;
}

// A value that no one has written is found as its reset value.
inline int find_value(Walk &walk, Place place, Bytes &out_value) {
    const int error = find_key(walk, key_of(place), out_value);
    if (error != MDB_NOTFOUND) return error;
    out_value = reset_value(place.field);
    return 0;
}

// In a write transaction. The bytes must not lie in the store.
int put_key(Walk &walk, Key key, Bytes value);

}  // namespace kora

#endif
