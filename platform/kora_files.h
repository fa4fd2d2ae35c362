// The files in the store's folder: made whole, checked before anything is mapped, set aside, removed.
#ifndef KORA_FILES_H
#define KORA_FILES_H

#include <sys/types.h>

#include "kora_folder.h"

namespace kora {

// Reserved whole, so that a full file system is met when the store is made and never by a write. 256 devices with
// every text at its longest take 2 to 5 MiB; the rest is for the pages that writes replace while someone still reads
// the old ones.
inline constexpr off_t STORE_SIZE = off_t{8} << 20;

// Opens the store's file, checked; out_fd is -1 when there is none.
bool open_store_file(const Folder &folder, const StorePath &path, int &out_fd, Refusal &out_why);

// Whoever copied the file by hand may have left holes in it, which would end a process where the file system is full.
bool reserve_store_file(const StorePath &path, int fd, Refusal &out_why);

// From one suffix of the path's name to another.
bool move_file(const Folder &folder, const StorePath &path, const char *from, const char *to, Refusal &out_why);

// An empty file of this process alone, to be moved into the place of the path's.
bool create_fresh_file(const Folder &folder, const StorePath &path, int &out_fd, Refusal &out_why);
void drop_fresh_file(const Folder &folder, const StorePath &path);

// One that is to become the store. Its room is there before LMDB writes to it, which reports a full file system as one
// that is broken. May leave a file behind when refused.
bool make_fresh_store_file(const Folder &folder, const StorePath &path, int &out_fd, Refusal &out_why);

// Gives the fresh file its whole size and puts it in the store's place.
bool publish_fresh_file(const Folder &folder, const StorePath &path, int fd, Refusal &out_why);

// Moves the file to its name with "~" behind and notes why, or refuses.
bool set_aside(const Folder &folder, const StorePath &path, const char *suffix, const char *reason, Refusal &out_why);

// Gives the room of the store that was set aside to a new one; false when there was none.
bool drop_set_aside(const Folder &folder, const StorePath &path, Refusal &out_why);

// Gives the file its size, and the rights that the group needs.
bool reserve(const Folder &folder, int fd, off_t size);

// What the process may write no further than ends it with a signal. False, and errno says so, beyond that.
bool is_size_allowed(off_t size);

}  // namespace kora

#endif
