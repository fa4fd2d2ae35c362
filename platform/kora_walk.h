// Cursors that know where they stand, so that neighbours, read in order, are steps of one and not searches. What lies
// row by row has one and what lies field by field another: a record that takes a field from there does not lose its
// row.
#ifndef KORA_WALK_H
#define KORA_WALK_H

#include <lmdb.h>

#include "kora_key.h"
#include "kora_schema.h"

namespace kora {

// The cursor stands at `at`, and no key lies from `from` up to it.
struct Position {
    static constexpr Key END = 0x10000;

    MDB_cursor *cursor = nullptr;  // null before its first use
    bool is_of_transaction = false;
    Key from = END;
    Key at = 0;
    Bytes stored = {};  // at `at`, its check included; points into the snapshot
};

struct Walk {
    MDB_txn *txn = nullptr;
    MDB_dbi values = 0;
    size_t transaction = 0;  // of a snapshot: the last one that it holds, 0 when that is not sure
    Position positions[2];
};

// After each begin or renewal of the transaction: no position outlives one.
void begin_walk(Walk &walk, MDB_txn *txn, MDB_dbi values);
// Before a write transaction ends.
void close_walk(Walk &walk);

inline Position &position_for(Walk &walk, Key key) { return walk.positions[key >= BY_FIELD]; }

// Stored behind each value. No operation looks at it; the check of the whole file at the first opening does.
uint32_t check_of(Key key, const void *value, size_t size);
inline constexpr size_t CHECK_SIZE = sizeof(uint32_t);

// Moves to the key, or to the one after it.
int seek(Walk &walk, Position &position, Key wanted);

// The value points into the snapshot of the walk's transaction. MDB_NOTFOUND when the key is not there.
inline int find_key(Walk &walk, Key key, Bytes &out_value) {
    Position &position = position_for(walk, key);
    if (key < position.from || key > position.at) {
        const int error = seek(walk, position, key);
        if (error != 0) return error;
    }
    if (key != position.at) return MDB_NOTFOUND;
    if (position.stored.size < CHECK_SIZE) return MDB_CORRUPTED;
    out_value = {position.stored.data, position.stored.size - CHECK_SIZE};
    return 0;
}

// A value that no one has written is found as its reset value.
inline int find_value(Walk &walk, Place place, Bytes &out_value) {
    const int error = find_key(walk, key_of(place), out_value);
    if (error != MDB_NOTFOUND) return error;
    out_value = reset_value(place.field);
    return 0;
}

// One of the layer's own numbers; MDB_NOTFOUND as above.
int find_number(Walk &walk, Key key, uint64_t &out_number);

// In a write transaction. The bytes must not lie in the store.
int put_key(Walk &walk, Key key, Bytes value);

}  // namespace kora

#endif
