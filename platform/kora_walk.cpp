#include "kora_walk.h"

#include <errno.h>
#include <string.h>

#include "kora.h"
#include "kora_checksum.h"

namespace kora {

namespace {

constexpr size_t VALUE_MAX = KORA_TEXT_MAX;

int go(Walk &walk, MDB_cursor_op operation, Key wanted) {
    MDB_val key = {sizeof wanted, &wanted};
    MDB_val value = {};
    const int error = mdb_cursor_get(walk.cursor, &key, &value, operation);
    if (error == MDB_NOTFOUND) {
        walk.at = Walk::END;
        return 0;
    }
    if (error != 0) return error;
    if (key.mv_size != sizeof(Key)) return MDB_CORRUPTED;
    const auto *bytes = static_cast<const uint8_t *>(key.mv_data);
    walk.at = number_of({bytes[0], bytes[1]});
    walk.stored = {value.mv_data, value.mv_size};
    return 0;
}

}  // namespace

uint32_t check_of(Key key, const void *value, size_t size) {
    return checksum(checksum(0, &key, sizeof key), value, size);
}

int seek(Walk &walk, Key wanted) {
    const uint32_t number = number_of(wanted);
    const bool is_near = walk.at >> 8 == wanted.field && walk.at < number && walk.from <= walk.at;
    int error = 0;
    if (is_near) {
        walk.from = walk.at + 1;
        error = go(walk, MDB_NEXT, wanted);
    }
    if (!is_near || (error == 0 && walk.at < number)) {
        walk.from = number;
        error = go(walk, MDB_SET_RANGE, wanted);
    }
    if (error != 0) forget_position(walk);
    return error;
}

int put_key(Walk &walk, Key key, Bytes value) {
    uint8_t stored[VALUE_MAX + CHECK_SIZE];
    if (value.size > VALUE_MAX) return EINVAL;
    const uint32_t check = check_of(key, value.data, value.size);
    memcpy(stored, value.data, value.size);
    memcpy(stored + value.size, &check, CHECK_SIZE);
    MDB_val own_key = {sizeof key, &key};
    MDB_val own_value = {value.size + CHECK_SIZE, stored};
    const unsigned flags = walk.at == number_of(key) && walk.from <= walk.at ? MDB_CURRENT : 0;
    forget_position(walk);
    return mdb_cursor_put(walk.cursor, &own_key, &own_value, flags);
}

}  // namespace kora
