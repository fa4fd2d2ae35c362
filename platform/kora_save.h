// When the store is saved, and from what it is restored.
#ifndef KORA_SAVE_H
#define KORA_SAVE_H

#include "kora_folder.h"
#include "kora_image.h"
#include "kora_saved_files.h"

namespace kora {

// At an opening while no handle is open, from the surroundings of the process. With `is_same_store` the one that this
// process had open last.
void choose_saved_copy(const StorePath &store_path, bool is_same_store, Refusal &out_why);
bool has_saved_copy();

// What a new store begins with, and whether there is anything. `store_folder` is the one that the caller holds locked.
Search find_what_to_restore(const Folder &store_folder, Image &out_image, Refusal &out_why);

// Something decided has changed, but the last save is not long ago: a change after `from` looks again.
bool is_pending_save_due();
void set_save_pending(uint64_t from);

// Nanoseconds since the machine started, the same for all processes.
uint64_t save_clock();
// When the next save may be, after one that was begun at `last`.
uint64_t next_save(uint64_t last, uint64_t now);

// At the end of an operation or group that made a save due. Does not wait for another save.
void save_by_itself(const void *handle);

// Around a fork: in the parent, and instead of the second, in the child. Waits for no save, only for its folder to be
// opened or closed.
void lock_save_for_fork();
void unlock_save_after_fork();
void forget_save();

}  // namespace kora

#endif
