#include "kora_lock_file.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "kora_descriptors.h"
#include "kora_files.h"

namespace kora {

namespace {

// 1,022 readers: LMDB takes as many as the file has room for. A killed reader keeps its place until it is looked for.
constexpr off_t LOCK_SIZE = off_t{64} << 10;

bool is_usable_lock_file(const Folder &folder, const FileName &name) {
    struct stat status;
    return fstatat(folder.fd, name.text, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(status.st_mode) &&
           status.st_size >= LOCK_SIZE && is_owner_trusted(folder, status);
}

// By those who still have another store open that lay here: each would take the other's readers for its own. To be
// asked only while this process has none open, since it gives up all its locks of the file.
bool is_lock_file_held(const Folder &folder, const FileName &name) {
    const Descriptor file(openat(folder.fd, name.text, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct flock others = {};
    others.l_type = F_WRLCK;
    others.l_whence = SEEK_SET;
    return fcntl(file.fd, F_GETLK, &others) == 0 && others.l_type != F_UNLCK;
}

bool reserve_lock_file(const Folder &folder, const StorePath &path, int fd, Refusal &out_why) {
    if (reserve(folder, fd, LOCK_SIZE)) return true;
    const int error = errno;
    if (error == ENOSPC && drop_set_aside(folder, path, out_why)) return reserve(folder, fd, LOCK_SIZE);
    errno = error;
    return false;
}

}  // namespace

bool claim_store_file(int fd, const StorePath &path, bool &out_is_shared, Refusal &out_why) {
    struct flock others = {};
    others.l_type = F_WRLCK;
    others.l_whence = SEEK_SET;
    if (fcntl(fd, F_OFD_GETLK, &others) != 0) return refuse_for(path, out_why, "cannot be locked", errno);
    out_is_shared = others.l_type != F_UNLCK;

    struct flock own = {};
    own.l_type = F_WRLCK;
    own.l_whence = SEEK_SET;
    own.l_start = getpid();
    own.l_len = 1;
    if (fcntl(fd, F_OFD_SETLK, &own) == 0) return true;
    if (errno != EAGAIN && errno != EACCES) return refuse_for(path, out_why, "cannot be locked", errno);
    return refuse(out_why, "store %.300s: another copy of this library has it open in process %d", path.text, getpid());
}

void give_up_claim(int fd) {
    struct flock all = {};
    all.l_type = F_UNLCK;
    all.l_whence = SEEK_SET;
    if (fd >= 0) (void)fcntl(fd, F_OFD_SETLK, &all);
}

bool is_lock_file_in_place(const Folder &folder, const StorePath &path) {
    return is_usable_lock_file(folder, name_with(path, suffix::LOCK));
}

int find_lock_file(const Folder &folder, const StorePath &path, int near) {
    constexpr int OPENED_MEANWHILE = 64;  // by other threads
    struct stat wanted, found;
    if (fstatat(folder.fd, name_with(path, suffix::LOCK).text, &wanted, AT_SYMLINK_NOFOLLOW) != 0) return -1;
    for (int fd = near + OPENED_MEANWHILE; fd >= 0; --fd) {
        if (fstat(fd, &found) == 0 && is_same_file(found, wanted)) return fd;
    }
    return -1;
}

bool prepare_lock_file(const Folder &folder, const StorePath &path, bool is_shared, Refusal &out_why) {
    const FileName name = name_with(path, suffix::LOCK);
    if (is_shared) {
        // A new one would keep this process and the others apart, and each would overwrite the other's pages.
        return is_usable_lock_file(folder, name) ||
               refuse(out_why, "store %.300s: others use it, and its lock file is gone, damaged or another user's",
                      path.text);
    }
    if (unlinkat(folder.fd, name.text, 0) != 0 && errno != ENOENT) {
        const int error = errno;
        // A member of the group may write the file but not its folder.
        if (!is_usable_lock_file(folder, name)) return refuse_for(path, out_why, "its lock file cannot be made", error);
        return !is_lock_file_held(folder, name) ||
               refuse(out_why, "store %.300s: others use its lock file for another store", path.text);
    }
    const Descriptor made(openat(folder.fd, name.text, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, FILE_MODE));
    // LMDB writes this file through its mapping, where a full file system would end the process.
    return (made.fd >= 0 && reserve_lock_file(folder, path, made.fd, out_why)) ||
           refuse_for(path, out_why, "its lock file cannot be made", errno);
}

}  // namespace kora
