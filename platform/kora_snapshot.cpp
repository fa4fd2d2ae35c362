#include "kora_snapshot.h"

#include "kora_fence.h"

namespace kora {

// The next writer but one begins only once the last transaction is seen to have moved. So who still sees the one of the
// date has read nothing of a later one, and writers see the reader.
int settle_snapshot(MDB_env *lmdb, MDB_txn *txn, size_t &out_transaction) {
    constexpr int TRIES = 8;
    int error = 0;
    for (int i = 0; error == 0 && i < TRIES; ++i) {
        if (i > 0) {
            end_snapshot(txn);
            error = mdb_txn_renew(txn);
            if (error != 0) break;
        }
        fence(std::memory_order_seq_cst);
        MDB_envinfo info = {};
        error = mdb_env_info(lmdb, &info);
        out_transaction = mdb_txn_id(txn);
        if (info.me_last_txnid == out_transaction) return error;
    }
    out_transaction = 0;
    return error;
}

void end_snapshot(MDB_txn *txn) {
    fence(std::memory_order_release);
    mdb_txn_reset(txn);
}

}  // namespace kora
