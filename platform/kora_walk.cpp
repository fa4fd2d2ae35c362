#include "kora_walk.h"

#include <errno.h>
#include <string.h>

#include "kora.h"
#include "kora_checksum.h"

namespace kora {

namespace {

constexpr size_t VALUE_MAX = KORA_TEXT_MAX;

void forget(Position &position) {
    position.from = Position::END;
    position.at = 0;
}

// LMDB promises nothing of where a cursor stands once its transaction was renewed.
int take_cursor(Walk &walk, Position &position) {
    const int error = position.cursor == nullptr ? mdb_cursor_open(walk.txn, walk.values, &position.cursor)
                                                 : mdb_cursor_renew(walk.txn, position.cursor);
    position.is_of_transaction = error == 0;
    return error;
}

int go(Position &position, MDB_cursor_op operation, Key wanted) {
    KeyBytes bytes = bytes_of(wanted);
    MDB_val key = {sizeof bytes, &bytes};
    MDB_val value = {};
    const int error = mdb_cursor_get(position.cursor, &key, &value, operation);
    if (error == MDB_NOTFOUND) {
        position.at = Position::END;
        return 0;
    }
    if (error != 0) return error;
    if (key.mv_size != sizeof(KeyBytes)) return MDB_CORRUPTED;
    position.at = key_of(*static_cast<const KeyBytes *>(key.mv_data));
    position.stored = {value.mv_data, value.mv_size};
    return 0;
}

}  // namespace

void begin_walk(Walk &walk, MDB_txn *txn, MDB_dbi values) {
    walk.txn = txn;
    walk.values = values;
    for (Position &position : walk.positions) {
        forget(position);
        position.is_of_transaction = false;
    }
}

void close_walk(Walk &walk) {
    for (Position &position : walk.positions) {
        if (position.cursor != nullptr) mdb_cursor_close(position.cursor);
        position = Position{};
    }
}

uint32_t check_of(Key key, const void *value, size_t size) {
    const KeyBytes bytes = bytes_of(key);
    return checksum(checksum(0, &bytes, sizeof bytes), value, size);
}

int seek(Walk &walk, Position &position, Key wanted) {
    const bool is_next = position.at + 1 == wanted && position.from <= position.at;
    int error = position.is_of_transaction ? 0 : take_cursor(walk, position);
    position.from = wanted;
    if (error == 0) error = go(position, is_next ? MDB_NEXT : MDB_SET_RANGE, wanted);
    if (error != 0) forget(position);
    return error;
}

int find_number(Walk &walk, Key key, uint64_t &out_number) {
    Bytes stored = {};
    const int error = find_key(walk, key, stored);
    if (error != 0) return error;
    if (stored.size != sizeof out_number) return MDB_CORRUPTED;
    memcpy(&out_number, stored.data, sizeof out_number);
    return 0;
}

int put_key(Walk &walk, Key key, Bytes value) {
    uint8_t stored[VALUE_MAX + CHECK_SIZE];
    if (value.size > VALUE_MAX) return EINVAL;
    const uint32_t check = check_of(key, value.data, value.size);
    memcpy(stored, value.data, value.size);
    memcpy(stored + value.size, &check, CHECK_SIZE);
    KeyBytes bytes = bytes_of(key);
    MDB_val own_key = {sizeof bytes, &bytes};
    MDB_val own_value = {value.size + CHECK_SIZE, stored};
    Position &position = position_for(walk, key);
    const unsigned flags = position.at == key ? MDB_CURRENT : 0;
    for (Position &moved : walk.positions) forget(moved);  // a write moves what lies beside it
    return position.is_of_transaction ? mdb_cursor_put(position.cursor, &own_key, &own_value, flags)
                                      : mdb_put(walk.txn, walk.values, &own_key, &own_value, 0);
}

}  // namespace kora
