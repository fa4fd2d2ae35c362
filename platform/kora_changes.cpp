#include "kora_changes.h"

#include <atomic>

#include "kora.h"
#include "kora_transaction.h"

namespace kora {

namespace {

// Transaction and number belong together: `version` is odd while someone changes them, and what was read while it
// moved is not used.
std::atomic<uint64_t> version{0};
std::atomic<uint64_t> known_transaction{0};  // LMDB counts from 1
std::atomic<uint64_t> known_number{0};

// The last transaction that the walk sees whole; 0 when the number has moved in this transaction too, or that is not
// known.
size_t transaction_of(const Walk &walk) {
    if (&walk != &writer.walk) return walk.transaction;
    return writer.is_counted ? 0 : mdb_txn_id(walk.txn) - 1;
}

// Outside of groups: without a snapshot when it is known as of now.
bool recall_latest_change_number(const void *handle, uint64_t &out_number) {
    Reader &reader = take_reader();
    MDB_envinfo info = {};
    const bool is_known = is_open(handle) && mdb_env_info(environment.lmdb, &info) == 0 &&
                          recall_change_number(info.me_last_txnid, out_number);
    give_reader(reader);
    return is_known;
}

}  // namespace

int find_change_number(Walk &walk, uint64_t &out_number) {
    const size_t transaction = transaction_of(walk);
    if (recall_change_number(transaction, out_number)) return 0;
    const int error = find_number(walk, CHANGES_KEY, out_number);
    if (error == 0 && transaction != 0) note_change_number(transaction, out_number);
    return error;
}

bool recall_change_number(size_t transaction, uint64_t &out_number) {
    const uint64_t before = version.load(std::memory_order_acquire);
    const uint64_t noted_transaction = known_transaction.load(std::memory_order_acquire);
    const uint64_t noted_number = known_number.load(std::memory_order_acquire);
    const bool is_steady = before % 2 == 0 && version.load(std::memory_order_relaxed) == before;
    if (!is_steady || transaction == 0 || noted_transaction != transaction) return false;
    out_number = noted_number;
    return true;
}

void note_change_number(size_t transaction, uint64_t number) {
    uint64_t before = version.load(std::memory_order_relaxed);
    if (before % 2 != 0 || !version.compare_exchange_strong(before, before + 1, std::memory_order_acquire)) return;
    known_transaction.store(transaction, std::memory_order_release);
    known_number.store(number, std::memory_order_release);
    version.store(before + 2, std::memory_order_release);
}

void forget_change_number() {
    version.store(0, std::memory_order_relaxed);
    known_transaction.store(0, std::memory_order_relaxed);
}

}  // namespace kora

extern "C" int32_t kora_changes(void *handle, uint64_t *number) {
    using namespace kora;
    if (number == nullptr) return REFUSED;
    if (!is_in_group()) {
        look_after_file(handle);
        if (recall_latest_change_number(handle, *number)) return DONE;
    }
    return read_store(handle, [&](Walk &walk) { return find_change_number(walk, *number); });
}
