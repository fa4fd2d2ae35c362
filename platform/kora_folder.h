// The folder that a store or a saved copy lies in: opened, locked, and what its rights say of the files in it.
#ifndef KORA_FOLDER_H
#define KORA_FOLDER_H

#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include "kora_path.h"

namespace kora {

// The folder, open, and after lock_folder locked against other processes that open or close the store in it.
struct Folder {
    int fd = -1;

    Folder() = default;
    Folder(const Folder &) = delete;
    Folder &operator=(const Folder &) = delete;
    ~Folder();
};

// Opening takes the others about a millisecond; a process that was stopped there must not hold up all for good.
inline constexpr int FOLDER_TRIES = 5000;
inline constexpr timespec FOLDER_PAUSE = {0, 1'000'000};

// Makes the folder where it is absent. With `is_waiting` others have five seconds to leave it.
bool open_folder(const StorePath &path, Folder &out_folder, Refusal &out_why);
bool lock_folder(const StorePath &path, Folder &folder, bool is_waiting, Refusal &out_why);
bool enter_folder(const StorePath &path, Folder &out_folder, Refusal &out_why);
void close_folder(Folder &folder);

// Belongs to root, to this user, or lies where only the group may write.
inline bool is_owner_trusted(const struct stat &folder, const struct stat &file) {
    return file.st_uid == 0 || file.st_uid == geteuid() || (folder.st_mode & S_IWOTH) == 0;
}
bool is_owner_trusted(const Folder &folder, const struct stat &file);

inline bool is_same_file(const struct stat &one, const struct stat &other) {
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

inline constexpr mode_t FILE_MODE = 0660;

// Gives a file the folder's group and that group's rights, whatever the group and umask of who happens to come first.
// Of another user's file a member may change neither, and need not.
void share_with_group(const Folder &folder, int fd);

}  // namespace kora

#endif
