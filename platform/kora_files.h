// The store's folder and files: made with the rights of one group, checked before anything is mapped.
#ifndef KORA_FILES_H
#define KORA_FILES_H

#include <limits.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include "kora_report.h"

namespace kora {

// Reserved whole, so that a full file system is met when the store is made and never by a write. 256 devices with
// every text at its longest take 2 to 5 MiB; the rest is for the pages that writes replace while someone still reads
// the old ones.
inline constexpr off_t STORE_SIZE = off_t{8} << 20;

// What else lies where the store and the saved copy lie: behind their names.
namespace suffix {
inline constexpr char NONE[] = "";
inline constexpr char FRESH[] = ".new";
inline constexpr char BEFORE[] = ".1";     // of the saved copy
inline constexpr char OTHER[] = ".other";  // the saved copy of another list
inline constexpr char ASIDE[] = "~";
inline constexpr char BEFORE_ASIDE[] = ".1~";
inline constexpr char LOCK[] = "-lock";
inline constexpr char WRITER[] = "-writer";
}  // namespace suffix
inline constexpr int SUFFIX_SIZE = sizeof suffix::WRITER;  // the longest, with its NUL

inline bool is_same_file(const struct stat &one, const struct stat &other) {
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

struct StorePath {
    const char *what;  // for messages
    char text[PATH_MAX];
    size_t folder_length;  // of the folder's part, its slash not counted

    const char *file_name() const { return text + folder_length + 1; }
};

// The folder, open, and after lock_folder locked against other processes that open or close the store in it.
struct Folder {
    int fd = -1;

    Folder() = default;
    Folder(const Folder &) = delete;
    Folder &operator=(const Folder &) = delete;
    ~Folder();
};

// From KORA_STORE or the default; always absolute, so that a later opening means the same file.
bool read_store_path(StorePath &out_path, Refusal &out_why);

// From KORA_SAVE, or the default of the default store. Empty when none is wanted, and refused without a reason
// then.
bool read_saved_path(const StorePath &store_path, StorePath &out_path, Refusal &out_why);

// Opening takes the others about a millisecond; a process that was stopped there must not hold up all for good.
inline constexpr int FOLDER_TRIES = 5000;
inline constexpr timespec FOLDER_PAUSE = {0, 1'000'000};

// Makes the folder where it is absent. With `is_waiting` others have five seconds to leave it.
bool open_folder(const StorePath &path, Folder &out_folder, Refusal &out_why);
bool lock_folder(const StorePath &path, Folder &folder, bool is_waiting, Refusal &out_why);
bool enter_folder(const StorePath &path, Folder &out_folder, Refusal &out_why);

// Belongs to root, to this user, or lies where only the group may write.
inline bool is_owner_trusted(const struct stat &folder, const struct stat &file) {
    return file.st_uid == 0 || file.st_uid == geteuid() || (folder.st_mode & S_IWOTH) == 0;
}
bool is_owner_trusted(const Folder &folder, const struct stat &file);

// Moves the file to its name with "~" behind and notes why, or refuses.
bool set_aside(const Folder &folder, const StorePath &path, const char *suffix, const char *reason, Refusal &out_why);

// Gives the room of the store that was set aside to a new one; false when there was none.
bool drop_set_aside(const Folder &folder, const StorePath &path, Refusal &out_why);

// A file's name with a suffix. Fits: the paths were read with room for every suffix.
struct FileName {
    char text[NAME_MAX + 1];
};
FileName name_with(const StorePath &path, const char *suffix);

// Leaves errno at `error`.
bool refuse_for(const StorePath &path, Refusal &out_why, const char *what, int error);

inline constexpr mode_t FILE_MODE = 0660;

// Gives a file the folder's group and that group's rights, whatever the group and umask of who happens to come first.
// Of another user's file a member may change neither, and need not.
void share_with_group(const Folder &folder, int fd);

// Gives the file its size, and the rights that the group needs.
bool reserve(const Folder &folder, int fd, off_t size);

// What the process may write no further than ends it with a signal. False, and errno says so, beyond that.
bool is_size_allowed(off_t size);

// For as long as it lives no file opened by this process gets one of the descriptors 0 to 2, which a host that closed
// them may take for its own output.
class StandardDescriptors {
public:
    StandardDescriptors();
    ~StandardDescriptors();
    StandardDescriptors(const StandardDescriptors &) = delete;
    StandardDescriptors &operator=(const StandardDescriptors &) = delete;

private:
    static constexpr int COUNT = 3;
    bool is_ours_[COUNT] = {};
};

// Opens the store's file, checked; out_fd is -1 when there is none.
bool open_store_file(const Folder &folder, const StorePath &path, int &out_fd, Refusal &out_why);

// An empty file of this process alone, to become the store. Its room is there before LMDB writes to it, which reports a
// full file system as one that is broken. May leave a file behind when refused.
bool make_fresh_file(const Folder &folder, const StorePath &path, int &out_fd, Refusal &out_why);

// Gives the fresh file its whole size and puts it in the store's place.
bool publish_fresh_file(const Folder &folder, const StorePath &path, int fd, Refusal &out_why);

void drop_fresh_file(const Folder &folder, const StorePath &path);

}  // namespace kora

#endif
