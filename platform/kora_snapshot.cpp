#include "kora_snapshot.h"

#include "kora_fence.h"

namespace kora {

// Pages of snapshot N are used again by transaction N+2 at the earliest, which begins only after N+1 is the last one.
// So who still finds N to be the last, behind the fence, has read nothing newer, and N+2 will see the reader.
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
