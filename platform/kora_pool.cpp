#include "kora_pool.h"

#include <errno.h>
#include <sched.h>
#include <time.h>

#include <iterator>

#include "kora_pause.h"
#include "kora_snapshot.h"

namespace kora {

namespace {

// More threads than this reading in one process at the same instant wait for each other.
constexpr uint32_t READER_MAX = 32;

// Asleep, not at work: whoever has what is waited for may be of lower priority, on the same CPU.
constexpr timespec PAUSE = {0, 50'000};
constexpr int PAUSES_OF_A_TRY = 20;  // longer than an operation takes

// One more for the writing group, which keeps all other writers out and so must not wait for who reads.
Reader readers[READER_MAX + 1];

// The readers in use so far: as many as threads have read at once, so that a process with one thread needs one.
std::atomic<uint32_t> reader_count{1};

bool try_take(Reader &reader) {
    return !reader.is_taken.load(std::memory_order_relaxed) &&
           !reader.is_taken.exchange(true, std::memory_order_acquire);
}

// Begins at a place of this CPU's own, where its caches have the reader already.
Reader *take_free_reader(uint32_t count) {
    const uint32_t start = count > 1 ? static_cast<uint32_t>(sched_getcpu()) % count : 0;
    for (uint32_t i = 0; i < count; ++i) {
        Reader &reader = readers[(start + i) % count];
        if (try_take(reader)) return &reader;
    }
    return nullptr;
}

// A killed process leaves its readers in the lock file until someone looks for them.
int begin_reading(MDB_env *lmdb, MDB_txn *&out_txn) {
    int error = mdb_txn_begin(lmdb, nullptr, MDB_RDONLY, &out_txn);
    if (error == MDB_READERS_FULL) {
        int dead_readers = 0;
        mdb_reader_check(lmdb, &dead_readers);
        error = mdb_txn_begin(lmdb, nullptr, MDB_RDONLY, &out_txn);
    }
    if (error != 0) out_txn = nullptr;
    return error;
}

void drop_transaction(Reader &reader) {
    close_walk(reader.walk);
    if (reader.walk.txn != nullptr) mdb_txn_abort(reader.walk.txn);
    reader.walk = Walk{};
}

void give_before(const Reader *end) {
    for (Reader *reader = readers; reader != end; ++reader) give_reader(*reader);
}

bool take_all(bool is_waiting) {
    int pauses = 0;
    for (Reader &reader : readers) {
        while (!try_take(reader)) {
            if (!is_waiting && ++pauses > PAUSES_OF_A_TRY) {
                give_before(&reader);
                return false;
            }
            pause_for(PAUSE);
        }
        drop_transaction(reader);
    }
    return true;
}

}  // namespace

Reader &take_reader() {
    for (;;) {
        uint32_t count = reader_count.load(std::memory_order_relaxed);
        if (Reader *reader = take_free_reader(count)) return *reader;
        if (count < READER_MAX) {
            reader_count.compare_exchange_strong(count, count + 1, std::memory_order_relaxed);
        } else {
            pause_for(PAUSE);
        }
    }
}

Reader &take_writers_reader() {
    Reader &reader = readers[READER_MAX];
    while (!try_take(reader)) pause_for(PAUSE);
    return reader;
}

void give_reader(Reader &reader) { reader.is_taken.store(false, std::memory_order_release); }

int begin_snapshot(Environment &environment, Reader &reader) {
    if (environment.lmdb == nullptr) return ENOENT;
    MDB_txn *txn = reader.walk.txn;
    if (txn != nullptr && mdb_txn_renew(txn) != 0) {
        drop_transaction(reader);
        txn = nullptr;
    }
    int error = txn == nullptr ? begin_reading(environment.lmdb, txn) : 0;
    if (error != 0) return error;
    begin_walk(reader.walk, txn, environment.values);
    error = settle_snapshot(environment.lmdb, txn, reader.walk.transaction);
    if (error != 0) drop_transaction(reader);
    return error;
}

void end_snapshot(Reader &reader) { end_snapshot(reader.walk.txn); }

AllReaders::AllReaders(bool is_waiting) : are_held_(take_all(is_waiting)) {}

AllReaders::~AllReaders() {
    if (are_held_) give_before(std::end(readers));
}

void forget_all_readers() {
    for (Reader &reader : readers) {
        reader.walk = Walk{};
        reader.is_taken.store(false, std::memory_order_relaxed);
    }
    reader_count.store(1, std::memory_order_relaxed);
}

}  // namespace kora
