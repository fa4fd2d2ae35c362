// The one LMDB environment of this process: made, opened, checked, closed.
#ifndef KORA_ENVIRONMENT_H
#define KORA_ENVIRONMENT_H

#include <lmdb.h>
#include <sys/stat.h>

#include "kora_folder.h"
#include "kora_mark.h"

namespace kora {

struct Environment {
    MDB_env *lmdb = nullptr;
    MDB_dbi values = 0;
    int lmdb_fds[2] = {-1, -1};                       // of its store and its lock file, both LMDB's to close
    int claim_fd = -1;                                // holds the claim of claim_store_file for as long as it is open
    std::atomic<int32_t> *writing_process = nullptr;  // shared; 0 while nobody writes
    int32_t process = 0;                              // this one
    struct stat file = {};                            // the store's, as it was when it was opened
    size_t room_until = 0;                            // no transaction before this one needs to look for room
    bool is_known_full = false;                       // someone has waited for room in vain
};

bool open_environment(const StorePath &path, Environment &out_environment, Refusal &out_why);

// Expects that no transaction of this process is left.
void close_environment(const StorePath &path, Environment &environment);

// After fork, in the child, before it opens another. LMDB's part is given up, not closed: closing would clear the
// parent's readers. Its mappings stay.
void leave_environment_to_parent(Environment &environment);

}  // namespace kora

#endif
