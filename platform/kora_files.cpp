#include "kora_files.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include "kora.h"
#include "kora_pause.h"

namespace kora {

namespace {

constexpr char DEFAULT_SAVED_COPY[] = "/var/lib/kora/saved";
constexpr char NO_ROOM[] = "no room can be reserved for it";
constexpr mode_t FOLDER_MODE = 0750;
constexpr int RESERVE_TRIES = 100;  // a signal ends each

bool is_named(const char *name) { return name != nullptr && *name != '\0'; }

bool read_path(const char *named, const char *what, StorePath &out_path, Refusal &out_why) {
    char folder[PATH_MAX] = "";
    if (*named != '/' && getcwd(folder, sizeof folder - 1) == nullptr) {
        return refuse(out_why, "%s %.300s: the working folder cannot be read: %s", what, named, strerror(errno));
    }
    const char *joint = *named == '/' ? "" : "/";
    const int length = snprintf(out_path.text, sizeof out_path.text, "%s%s%s", folder, joint, named);
    const char *last_slash = strrchr(out_path.text, '/');
    const size_t name_length = strlen(last_slash + 1);
    if (length >= PATH_MAX - SUFFIX_SIZE || name_length > NAME_MAX - SUFFIX_SIZE)
        return refuse(out_why, "%s %.300s: name too long", what, named);
    if (name_length == 0) return refuse(out_why, "%s %.300s: names a folder, not a file", what, named);
    out_path.what = what;
    out_path.folder_length = static_cast<size_t>(last_slash - out_path.text);
    return true;
}

bool is_suffixed(const StorePath &path, const char *suffix, const StorePath &whole) {
    return strcmp(name_with(path, suffix).text, whole.file_name()) == 0;
}

struct FolderName {
    char text[PATH_MAX] = "/";
};

FolderName folder_name(const StorePath &path) {
    FolderName name;
    const int length = static_cast<int>(path.folder_length);
    if (length > 0) snprintf(name.text, sizeof name.text, "%.*s", length, path.text);
    return name;
}

// In one folder, however it is spelled.
bool is_beside(const StorePath &one, const StorePath &other) {
    struct stat first, second;
    return stat(folder_name(one).text, &first) == 0 && stat(folder_name(other).text, &second) == 0 &&
           is_same_file(first, second);
}

bool is_default_store(const StorePath &path) {
    StorePath usual;
    Refusal ignored;
    if (strcmp(path.text, KORA_DEFAULT_STORE) == 0) return true;
    return read_path(KORA_DEFAULT_STORE, path.what, usual, ignored) && is_suffixed(usual, suffix::NONE, path) &&
           is_beside(usual, path);
}

bool would_overwrite(const StorePath &saved, const StorePath &store) {
    if (!is_beside(saved, store)) return false;
    for (const char *end : {suffix::NONE, suffix::FRESH, suffix::BEFORE, suffix::OTHER, suffix::ASIDE,
                            suffix::BEFORE_ASIDE, suffix::LOCK, suffix::WRITER}) {
        if (is_suffixed(store, end, saved) || is_suffixed(saved, end, store)) return true;
    }
    return false;
}

// Folders that are compared must be there, and whoever comes first after a restart finds none.
void make_folder(const StorePath &path) {
    const StandardDescriptors none_of_these;
    Folder folder;
    Refusal ignored;
    open_folder(path, folder, ignored);
}

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

}  // namespace

// Unlocked by itself: a process that was forked off meanwhile may have a copy of the descriptor.
Folder::~Folder() {
    if (fd < 0) return;
    flock(fd, LOCK_UN);
    close(fd);
}

void share_with_group(const Folder &folder, int fd) {
    struct stat file, around;
    (void)fchmod(fd, FILE_MODE);
    if (fstat(fd, &file) != 0 || fstat(folder.fd, &around) != 0 || file.st_gid == around.st_gid) return;
    [[maybe_unused]] const int is_refused = fchown(fd, file.st_uid, around.st_gid);
}

bool is_size_allowed(off_t size) {
    rlimit limit;
    if (getrlimit(RLIMIT_FSIZE, &limit) != 0 || static_cast<rlim_t>(size) <= limit.rlim_cur) return true;
    errno = EFBIG;
    return false;
}

bool reserve(const Folder &folder, int fd, off_t size) {
    struct stat file;
    share_with_group(folder, fd);
    const bool has_size = fstat(fd, &file) == 0 && file.st_size >= size;
    if (!has_size && !is_size_allowed(size)) return false;
    errno = EINTR;
    for (int i = 0; i < RESERVE_TRIES && errno == EINTR; ++i) errno = posix_fallocate(fd, 0, size);
    return errno == 0 || (is_unknown_call(errno) && fill_up(fd, size));
}

StandardDescriptors::StandardDescriptors() {
    for (;;) {
        const int fd = open("/", O_PATH | O_CLOEXEC);
        if (fd >= 0 && fd < COUNT) {
            is_ours_[fd] = true;
            continue;
        }
        if (fd >= 0) close(fd);
        return;
    }
}

StandardDescriptors::~StandardDescriptors() {
    for (int fd = 0; fd < COUNT; ++fd) {
        if (is_ours_[fd]) close(fd);
    }
}

FileName name_with(const StorePath &path, const char *suffix) {
    FileName name;
    snprintf(name.text, sizeof name.text, "%.*s%s", NAME_MAX - SUFFIX_SIZE, path.file_name(), suffix);
    return name;
}

bool refuse_for(const StorePath &path, Refusal &out_why, const char *what, int error) {
    refuse(out_why, "%s %.300s: %s: %s", path.what, path.text, what, strerror(error));
    errno = error;
    return false;
}

bool is_owner_trusted(const Folder &folder, const struct stat &file) {
    struct stat status;
    return fstat(folder.fd, &status) == 0 && is_owner_trusted(status, file);
}

bool set_aside(const Folder &folder, const StorePath &path, const char *suffix, const char *reason, Refusal &out_why) {
    char aside_suffix[SUFFIX_SIZE];
    snprintf(aside_suffix, sizeof aside_suffix, "%s%s", suffix, suffix::ASIDE);
    const FileName name = name_with(path, suffix);
    const FileName aside = name_with(path, aside_suffix);
    if (renameat(folder.fd, name.text, folder.fd, aside.text) != 0) {
        const int error = errno;
        return refuse(out_why, "%s %.300s%s: %s, and cannot be set aside: %s", path.what, path.text, suffix, reason,
                      strerror(error));
    }
    note(out_why, "%s %.300s%s: %s; set aside as %.100s", path.what, path.text, suffix, reason, aside.text);
    return true;
}

bool drop_set_aside(const Folder &folder, const StorePath &path, Refusal &out_why) {
    const FileName aside = name_with(path, suffix::ASIDE);
    if (unlinkat(folder.fd, aside.text, 0) != 0) return false;
    note(out_why, "store %.300s: no room beside %.100s, which is removed", path.text, aside.text);
    return true;
}

bool read_store_path(StorePath &out_path, Refusal &out_why) {
    const char *named = secure_getenv("KORA_STORE");
    return read_path(is_named(named) ? named : KORA_DEFAULT_STORE, "store", out_path, out_why);
}

bool read_saved_path(const StorePath &store_path, StorePath &out_path, Refusal &out_why) {
    const char *named = secure_getenv("KORA_SAVE");
    make_folder(store_path);
    // A store elsewhere is another list of devices, which must neither take over the router's nor replace it.
    if (named == nullptr && is_default_store(store_path)) named = DEFAULT_SAVED_COPY;
    out_path.text[0] = '\0';
    if (!is_named(named) || !read_path(named, "saved copy", out_path, out_why)) return false;
    if (would_overwrite(out_path, store_path))
        return refuse(out_why, "saved copy %.300s: would overwrite the store", out_path.text);
    // Not moved aside as a damaged copy is: a device or a folder is somebody's.
    struct stat status;
    return lstat(out_path.text, &status) != 0 || S_ISREG(status.st_mode) ||
           refuse(out_why, "saved copy %.300s: not a file", out_path.text);
}

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

bool open_store_file(const Folder &folder, const StorePath &path, int &out_fd, Refusal &out_why) {
    out_fd = -1;
    const int fd = openat(folder.fd, path.file_name(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0 && errno == ENOENT) return true;
    if (fd < 0 && errno == ELOOP) return refuse(out_why, "store %.300s: a link, and not followed", path.text);
    if (fd < 0) return refuse_for(path, out_why, "cannot be opened", errno);
    out_fd = fd;
    struct stat status;
    if (fstat(fd, &status) != 0) return refuse_for(path, out_why, "cannot be looked at", errno);
    if (!S_ISREG(status.st_mode)) return refuse(out_why, "store %.300s: not a file", path.text);
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

bool make_fresh_file(const Folder &folder, const StorePath &path, int &out_fd, Refusal &out_why) {
    drop_fresh_file(folder, path);  // of someone who was killed here
    const FileName name = name_with(path, suffix::FRESH);
    out_fd = openat(folder.fd, name.text, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, FILE_MODE);
    if (out_fd < 0) return refuse_for(path, out_why, "cannot be made", errno);
    return reserve_ahead(out_fd) || refuse_for(path, out_why, NO_ROOM, errno);
}

bool publish_fresh_file(const Folder &folder, const StorePath &path, int fd, Refusal &out_why) {
    if (!reserve(folder, fd, STORE_SIZE)) return refuse_for(path, out_why, NO_ROOM, errno);
    const FileName name = name_with(path, suffix::FRESH);
    return renameat(folder.fd, name.text, folder.fd, path.file_name()) == 0 ||
           refuse_for(path, out_why, "cannot be put in its place", errno);
}

void drop_fresh_file(const Folder &folder, const StorePath &path) {
    unlinkat(folder.fd, name_with(path, suffix::FRESH).text, 0);
}

}  // namespace kora
