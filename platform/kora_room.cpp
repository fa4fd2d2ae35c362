#include "kora_room.h"

#include <stdlib.h>
#include <string.h>

#include "kora_files.h"
#include "kora_format.h"

namespace kora {

namespace {

// A removal takes about 9 pages: the row's own, one of each field that lies by itself, and those above them.
constexpr size_t PAGES_OF_A_WRITE = 32;
// Bytes, since kernels have pages of up to 64 KiB: then there are few, and each holds more.
constexpr size_t RESERVED_SIZE = STORE_SIZE / 16 * 3;
constexpr MDB_dbi FREE_PAGES = 0;  // where LMDB keeps which pages it may use again, by transaction

// LMDB tells the readers' snapshots only as text: process, thread, transaction.
int note_oldest(const char *line, void *oldest) {
    const char *last_word = strrchr(line, ' ');
    char *end = nullptr;
    const size_t transaction = last_word != nullptr ? strtoul(last_word + 1, &end, 10) : 0;
    auto *lowest = static_cast<size_t *>(oldest);
    if (end != nullptr && *end == '\n' && transaction != 0 && transaction < *lowest) *lowest = transaction;
    return 0;
}

// Pages given up before the oldest snapshot that someone still reads.
size_t count_reusable_pages(MDB_env *lmdb) {
    MDB_txn *txn = nullptr;
    if (mdb_txn_begin(lmdb, nullptr, MDB_RDONLY, &txn) != 0) return 0;
    size_t oldest = mdb_txn_id(txn);
    size_t count = 0;
    mdb_reader_list(lmdb, note_oldest, &oldest);
    MDB_cursor *cursor = nullptr;
    MDB_val key, pages;
    if (mdb_cursor_open(txn, FREE_PAGES, &cursor) == 0) {
        while (mdb_cursor_get(cursor, &key, &pages, MDB_NEXT) == 0) {
            size_t transaction, length;
            memcpy(&transaction, key.mv_data, sizeof transaction);
            if (transaction >= oldest) break;
            memcpy(&length, pages.mv_data, sizeof length);
            count += length;
        }
        mdb_cursor_close(cursor);
    }
    mdb_txn_abort(txn);
    return count;
}

}  // namespace

bool has_room(Environment &environment, MDB_txn *txn) {
    const size_t id = mdb_txn_id(txn);
    if (id < environment.room_until) return true;
    MDB_envinfo info = {};
    mdb_env_info(environment.lmdb, &info);
    const size_t reserved = RESERVED_SIZE / page_size();
    size_t pages = STORE_SIZE / page_size() - 1 - info.me_last_pgno;
    if (pages < 2 * reserved) pages += count_reusable_pages(environment.lmdb);
    if (pages < reserved + PAGES_OF_A_WRITE) return false;
    // What is free to use now stays so until it is used, whoever begins to read.
    environment.room_until = id + (pages - reserved) / PAGES_OF_A_WRITE;
    return true;
}

}  // namespace kora
