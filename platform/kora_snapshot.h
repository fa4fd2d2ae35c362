// LMDB's snapshots, with the order between processors that LMDB leaves to them. LMDB notes a reader in the lock file,
// takes the snapshot, and checks nothing after that: when two others commit in between, the snapshot may mix two
// states, and a writer whose processor has not yet seen the note may use its pages again.
#ifndef KORA_SNAPSHOT_H
#define KORA_SNAPSHOT_H

#include <lmdb.h>
#include <stddef.h>

namespace kora {

// To be called first in a read transaction that was begun or renewed, and takes it anew where it must.
// `out_transaction` is the last one that the snapshot holds whole; 0 when that is not sure, since a writer was stopped
// in its last step.
int settle_snapshot(MDB_env *lmdb, MDB_txn *txn, size_t &out_transaction);

// Ends it: what was read in it was read before a writer may use its pages again.
void end_snapshot(MDB_txn *txn);

}  // namespace kora

#endif
