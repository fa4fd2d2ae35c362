#include "kora_folder.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "kora_pause.h"

namespace kora {

namespace {

constexpr mode_t FOLDER_MODE = 0750;

}  // namespace

// Unlocked by itself: a process that was forked off meanwhile may have a copy of the descriptor.
void close_folder(Folder &folder) {
    if (folder.fd < 0) return;
    flock(folder.fd, LOCK_UN);
    close(folder.fd);
    folder.fd = -1;
}

Folder::~Folder() { close_folder(*this); }

bool open_folder(const StorePath &path, Folder &out_folder, Refusal &out_why) {
    const FolderName name = folder_name(path);
    const bool is_made = mkdir(name.text, FOLDER_MODE) == 0;
    const int why_not_made = errno;
    out_folder.fd = open(name.text, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (out_folder.fd < 0 && errno == ENOENT && !is_made && why_not_made != EEXIST) {
        refuse_for(path, out_why, "its folder cannot be made", why_not_made);
        errno = ENOENT;
        return false;
    }
    if (out_folder.fd < 0) return refuse_for(path, out_why, "its folder cannot be opened", errno);
    if (is_made && fchmod(out_folder.fd, FOLDER_MODE) != 0) return refuse_for(path, out_why, "its folder", errno);
    return true;
}

bool lock_folder(const StorePath &path, Folder &folder, bool is_waiting, Refusal &out_why) {
    for (int i = 0; i < (is_waiting ? FOLDER_TRIES : 1); ++i) {
        if (flock(folder.fd, LOCK_EX | LOCK_NB) == 0) return true;
        if (errno != EWOULDBLOCK && errno != EINTR) break;
        if (is_waiting) pause_for(FOLDER_PAUSE);
    }
    return refuse_for(path, out_why, "its folder cannot be locked", errno);
}

bool enter_folder(const StorePath &path, Folder &out_folder, Refusal &out_why) {
    return open_folder(path, out_folder, out_why) && lock_folder(path, out_folder, true, out_why);
}

bool is_owner_trusted(const Folder &folder, const struct stat &file) {
    struct stat status;
    return fstat(folder.fd, &status) == 0 && is_owner_trusted(status, file);
}

void share_with_group(const Folder &folder, int fd) {
    struct stat file, around;
    (void)fchmod(fd, FILE_MODE);
    if (fstat(fd, &file) != 0 || fstat(folder.fd, &around) != 0 || file.st_gid == around.st_gid) return;
    [[maybe_unused]] const int is_refused = fchown(fd, file.st_uid, around.st_gid);
}

}  // namespace kora
