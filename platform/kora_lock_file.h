// Who else uses the store: told and asked through locks, one of the store's own file and LMDB's file beside it.
#ifndef KORA_LOCK_FILE_H
#define KORA_LOCK_FILE_H

#include "kora_folder.h"

namespace kora {

// Tells other processes, through a lock on the store's file that ends with this process, that it is in use here. Asks
// at the same time whether anyone else uses it. Refused when this process uses it already, through another copy of
// this library: two would undo each other's locks.
bool claim_store_file(int fd, const StorePath &path, bool &out_is_shared, Refusal &out_why);

// Gives that up where this process closes its store. To close the descriptor is not enough: a program that another
// thread is just starting has a copy of it.
void give_up_claim(int fd);

// The lock file, with room for every reader; made anew by the first user, or checked where it cannot be removed.
bool prepare_lock_file(const Folder &folder, const StorePath &path, bool is_shared, Refusal &out_why);

// Whether it still is there, and not one that LMDB made in its place.
bool is_lock_file_in_place(const Folder &folder, const StorePath &path);

// The descriptor of the lock file, which LMDB does not tell: it opens it before the store's, `near`. -1 when there is
// none.
int find_lock_file(const Folder &folder, const StorePath &path, int near);

}  // namespace kora

#endif
