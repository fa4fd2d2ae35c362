#include "kora_transaction.h"

#include <string.h>
#include <time.h>

#include "kora_open.h"
#include "kora_pool.h"

namespace kora {

namespace {

Trouble reading = {"read"};
Trouble writing_trouble = {"write"};

Key key_of(Place place) { return {static_cast<uint8_t>(place.field), place.row}; }

// Points into the snapshot of `txn`.
int find_value(MDB_txn *txn, Place place, Bytes &out_value) {
    const Key own_key = key_of(place);
    MDB_val key = value_of(own_key);
    MDB_val value;
    const int error = mdb_get(txn, environment.values, &key, &value);
    if (error == 0) out_value = {value.mv_data, value.mv_size};
    if (error != MDB_NOTFOUND) return error;
    out_value = reset_value(place.field);
    return 0;
}

// Runs `body` on a snapshot of its own. Failures are logged when nothing is held any more.
template <class Body>
Result with_snapshot(const void *handle, Body body) {
    if (!is_usable()) return FAILED;
    Reader &reader = take_reader();
    if (!is_open(handle)) {
        give_reader(reader);
        return REFUSED;
    }
    int error = begin_snapshot(environment, reader);
    if (error == 0) {
        error = body(reader.txn);
        end_snapshot(reader);
    }
    give_reader(reader);
    return report(reading, error);
}

int put_value(Place place, Bytes bytes) {
    MDB_txn *txn = nullptr;
    int error = mdb_txn_begin(environment.lmdb, nullptr, 0, &txn);
    if (error != 0) return error;
    const Key own_key = key_of(place);
    MDB_val key = value_of(own_key);
    MDB_val value = value_of(bytes.data, bytes.size);
    error = mdb_put(txn, environment.values, &key, &value, 0);
    if (error == 0) return mdb_txn_commit(txn);
    mdb_txn_abort(txn);
    return error;
}

// The map fills within milliseconds of writing while anyone stays inside an older snapshot: for a moment when a reader
// lost its CPU there, until it is looked for when it was killed, and for good when it was stopped. So a writer waits,
// but only the first time: the next ones would wait in vain.
int put_value_when_there_is_room(Place place, Bytes value) {
    constexpr int TRIES = 2000;
    constexpr timespec PAUSE = {0, 1'000'000};
    const int tries = writing_trouble.code.load(std::memory_order_relaxed) == MDB_MAP_FULL ? 1 : TRIES;
    int error = put_value(place, value);
    for (int i = 0; i < tries && error == MDB_MAP_FULL; ++i) {
        int dead_readers = 0;
        mdb_reader_check(environment.lmdb, &dead_readers);
        if (dead_readers == 0) nanosleep(&PAUSE, nullptr);
        error = put_value(place, value);
    }
    return error;
}

Result store_value(const void *handle, Place place, Bytes value) {
    int error = 0;
    {
        const Lock lock(writing);
        if (!is_open(handle)) return REFUSED;
        error = put_value_when_there_is_room(place, value);
    }
    return report(writing_trouble, error);
}

}  // namespace

Result read_value(const void *handle, Place place, void *buffer, size_t capacity, size_t least, size_t most,
                  size_t &out_size) {
    return with_snapshot(handle, [&](MDB_txn *txn) {
        Bytes value = {};
        const int error = find_value(txn, place, value);
        if (error != 0) return error;
        if (value.size < least || value.size > most) return MDB_CORRUPTED;
        out_size = value.size < capacity ? value.size : capacity;
        memcpy(buffer, value.data, out_size);
        return 0;
    });
}

Result write_value(const void *handle, Place place, Bytes value) {
    bool is_there = false;
    const Result result = with_snapshot(handle, [&](MDB_txn *txn) {
        Bytes stored = {};
        const int error = find_value(txn, place, stored);
        is_there = error == 0 && stored.size == value.size && memcmp(stored.data, value.data, value.size) == 0;
        return error;
    });
    return result != DONE || is_there ? result : store_value(handle, place, value);
}

}  // namespace kora
