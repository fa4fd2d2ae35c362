#include "kora_files.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kora {

namespace {

constexpr char NO_ROOM[] = "no room can be reserved for it";
constexpr int RESERVE_TRIES = 100;  // a signal ends each

bool is_unknown_call(int error) { return error == EOPNOTSUPP || error == ENOSYS; }

// The room without the size, since LMDB begins a new store in empty files alone. A file system that knows no such thing
// is met when the file is reserved whole.
bool reserve_ahead(int fd) {
    if (!is_size_allowed(STORE_SIZE)) return false;
    int result = -1;
    errno = EINTR;
    for (int i = 0; i < RESERVE_TRIES && result != 0 && errno == EINTR; ++i)
        result = fallocate(fd, FALLOC_FL_KEEP_SIZE, 0, STORE_SIZE);
    return result == 0 || is_unknown_call(errno);
}

// What glibc does by itself where a file system cannot reserve. From the end on: others use the first bytes of a mark.
bool fill_up(int fd, off_t size) {
    static constexpr char NOTHING[512] = {};
    struct stat status;
    if (fstat(fd, &status) != 0) return false;
    for (off_t at = status.st_size; at < size;) {
        const off_t rest = size - at;
        const size_t step = rest < off_t{sizeof NOTHING} ? static_cast<size_t>(rest) : sizeof NOTHING;
        const ssize_t written = pwrite(fd, NOTHING, step, at);
        if (written < 0 && errno != EINTR) return false;
        if (written > 0) at += written;
    }
    return true;
}

bool reserve_room(int fd, off_t size) {
    struct stat file;
    const bool has_size = fstat(fd, &file) == 0 && file.st_size >= size;
    if (!has_size && !is_size_allowed(size)) return false;
    errno = EINTR;
    for (int i = 0; i < RESERVE_TRIES && errno == EINTR; ++i) errno = posix_fallocate(fd, 0, size);
    return errno == 0 || (is_unknown_call(errno) && fill_up(fd, size));
}

}  // namespace

bool open_store_file(const Folder &folder, const StorePath &path, int &out_fd, Refusal &out_why) {
    out_fd = -1;
    const int fd = openat(folder.fd, path.file_name(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0 && errno == ENOENT) return true;
    if (fd < 0 && errno == ELOOP) return refuse(out_why, "store %.300s: a link, and not followed", path.text);
    if (fd < 0) return refuse_for(path, out_why, "cannot be opened", errno);
    out_fd = fd;
    struct stat status;
    if (fstat(fd, &status) != 0) return refuse_for(path, out_why, "cannot be looked at", errno);
    if (!S_ISREG(status.st_mode)) return refuse(out_why, "store %.300s: %s", path.text, NOT_A_FILE);
    if (status.st_size != STORE_SIZE) {
        return refuse(out_why, "store %.300s: %lld bytes, not %lld: cut short, or not a store", path.text,
                      static_cast<long long>(status.st_size), static_cast<long long>(STORE_SIZE));
    }
    if (!is_owner_trusted(folder, status)) {
        return refuse(out_why, "store %.300s: lies where everyone may write and belongs to user %u", path.text,
                      status.st_uid);
    }
    return true;
}

bool reserve_store_file(const StorePath &path, int fd, Refusal &out_why) {
    return reserve_room(fd, STORE_SIZE) || refuse_for(path, out_why, NO_ROOM, errno);
}

bool create_fresh_file(const Folder &folder, const StorePath &path, int &out_fd, Refusal &out_why) {
    drop_fresh_file(folder, path);  // of someone who was killed here
    const FileName name = name_with(path, suffix::FRESH);
    out_fd = openat(folder.fd, name.text, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, FILE_MODE);
    return out_fd >= 0 || refuse_for(path, out_why, "cannot be made", errno, suffix::FRESH);
}

bool make_fresh_store_file(const Folder &folder, const StorePath &path, int &out_fd, Refusal &out_why) {
    if (!create_fresh_file(folder, path, out_fd, out_why)) return false;
    return reserve_ahead(out_fd) || refuse_for(path, out_why, NO_ROOM, errno);
}

bool publish_fresh_file(const Folder &folder, const StorePath &path, int fd, Refusal &out_why) {
    share_with_group(folder, fd);
    return reserve_store_file(path, fd, out_why) && move_file(folder, path, suffix::FRESH, suffix::NONE, out_why);
}

bool move_file(const Folder &folder, const StorePath &path, const char *from, const char *to, Refusal &out_why) {
    return renameat(folder.fd, name_with(path, from).text, folder.fd, name_with(path, to).text) == 0 ||
           refuse_for(path, out_why, "cannot be put in its place", errno, to);
}

void drop_fresh_file(const Folder &folder, const StorePath &path) {
    unlinkat(folder.fd, name_with(path, suffix::FRESH).text, 0);
}

bool set_aside(const Folder &folder, const StorePath &path, const char *suffix, const char *reason, Refusal &out_why) {
    char aside_suffix[SUFFIX_SIZE];
    snprintf(aside_suffix, sizeof aside_suffix, "%s%s", suffix, suffix::ASIDE);
    const FileName name = name_with(path, suffix);
    const FileName aside = name_with(path, aside_suffix);
    if (renameat(folder.fd, name.text, folder.fd, aside.text) != 0)
        return refuse(out_why, "%s %.300s%s: %s, and cannot be set aside: %s", path.what, path.text, suffix, reason,
                      strerror(errno));
    note(out_why, "%s %.300s%s: %s; set aside as %.100s", path.what, path.text, suffix, reason, aside.text);
    return true;
}

bool drop_set_aside(const Folder &folder, const StorePath &path, Refusal &out_why) {
    const FileName aside = name_with(path, suffix::ASIDE);
    if (unlinkat(folder.fd, aside.text, 0) != 0) return false;
    note(out_why, "store %.300s: no room beside %.100s, which is removed", path.text, aside.text);
    return true;
}

bool is_size_allowed(off_t size) {
    rlimit limit;
    if (getrlimit(RLIMIT_FSIZE, &limit) != 0 || static_cast<rlim_t>(size) <= limit.rlim_cur) return true;
    errno = EFBIG;
    return false;
}

bool reserve(const Folder &folder, int fd, off_t size) {
    share_with_group(folder, fd);
    return reserve_room(fd, size);
}

}  // namespace kora
