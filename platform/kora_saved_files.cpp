#include "kora_saved_files.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <unistd.h>

#include "kora_descriptors.h"
#include "kora_files.h"

namespace kora {

namespace {

const char *reason_of(CopyState state) {
    switch (state) {
        case CopyState::NoFile: return NOT_A_FILE;
        case CopyState::Foreign: return "not a saved copy of this system";
        case CopyState::Newer: return "of a newer version";
        default: return "damaged";
    }
}

// Reads until the end; false at an error.
bool read_all(int fd, Image &image) {
    while (image.size < IMAGE_MAX) {
        const ssize_t count = read(fd, image.bytes + image.size, IMAGE_MAX - image.size);
        if (count == 0) return true;
        if (count < 0 && errno != EINTR) return false;
        if (count > 0) image.size += static_cast<size_t>(count);
    }
    return true;
}

CopyState state_after(int error) { return is_lost(error) ? CopyState::Damaged : CopyState::Unreadable; }

// errno says why one is unreadable.
CopyState read_copy(const Folder &folder, const StorePath &path, const char *suffix, Image &out_image) {
    const FileName name = name_with(path, suffix);
    const Descriptor file(openat(folder.fd, name.text, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat status;
    if (file.fd < 0 && errno == ENOENT) return CopyState::Absent;
    if (file.fd < 0) return errno == ELOOP || errno == ENXIO ? CopyState::NoFile : state_after(errno);
    if (fstat(file.fd, &status) != 0) return state_after(errno);
    if (!S_ISREG(status.st_mode)) return CopyState::NoFile;
    if (!is_owner_trusted(folder, status)) return CopyState::Foreign;
    out_image.size = 0;
    if (out_image.bytes == nullptr && !allocate(out_image)) return CopyState::Unreadable;
    return read_all(file.fd, out_image) ? state_of(out_image) : state_after(errno);
}

bool write_all(int fd, const Image &image) {
    size_t written = 0;
    while (written < image.size) {
        const ssize_t count = write(fd, image.bytes + written, image.size - written);
        if (count < 0 && errno != EINTR) return false;
        if (count > 0) written += static_cast<size_t>(count);
    }
    return true;
}

bool write_fresh_copy(const Folder &folder, const StorePath &path, const Image &image, Refusal &out_why) {
    Descriptor file(-1);
    if (!create_fresh_file(folder, path, file.fd, out_why)) return false;
    share_with_group(folder, file.fd);
    if (is_size_allowed(static_cast<off_t>(image.size)) && write_all(file.fd, image) && fsync(file.fd) == 0)
        return true;
    const int error = errno;
    drop_fresh_file(folder, path);
    return refuse_for(path, out_why, "cannot be written", error);
}

// Before the image takes its place. A list that began when the copy could not be seen knows nothing of it, and must not
// push it out.
CopyState look_at_copy(const Folder &folder, const StorePath &path, const char *suffix, const Image &image,
                       Image &out_copy) {
    const CopyState state = read_copy(folder, path, suffix, out_copy);
    const uint64_t beginning = beginning_of(image);
    const bool is_known = state != CopyState::Whole || beginning == FROM_A_COPY || beginning == beginning_of(out_copy);
    return is_known ? state : CopyState::OfAnotherList;
}

// Under both names until the image takes its own, so that a cut in between loses nothing; moved where a file system has
// no second names. The first such copy stays: at each start there may be a list that began without it.
bool keep_other_list(const Folder &folder, const StorePath &path, const char *suffix, Refusal &out_why) {
    const FileName kept = name_with(path, suffix::OTHER);
    const bool is_linked = linkat(folder.fd, name_with(path, suffix).text, folder.fd, kept.text, 0) == 0;
    if (!is_linked && errno == EEXIST) return move_file(folder, path, suffix, suffix::BEFORE, out_why);
    if (!is_linked && !move_file(folder, path, suffix, suffix::OTHER, out_why)) return false;
    note(out_why, "%s %.300s%s: of another list; kept as %.100s", path.what, path.text, suffix, kept.text);
    return true;
}

bool make_way(const Folder &folder, const StorePath &path, CopyState last, Refusal &out_why) {
    switch (last) {
        case CopyState::Absent: return true;
        case CopyState::Whole:
        case CopyState::Unreadable: return move_file(folder, path, suffix::NONE, suffix::BEFORE, out_why);
        case CopyState::OfAnotherList: return keep_other_list(folder, path, suffix::NONE, out_why);
        // What is damaged is not waited for; what is no copy may be somebody's, and a newer version's is whole.
        default: return set_aside(folder, path, suffix::NONE, reason_of(last), out_why) || last == CopyState::Damaged;
    }
}

// Without a whole last copy, as after a cut, the one before may be all that is left of another list.
bool keep_copy_before(const Folder &folder, const StorePath &path, CopyState last, const Image &image, Image &buffer,
                      Refusal &out_why) {
    if (last == CopyState::Whole || last == CopyState::OfAnotherList || beginning_of(image) == FROM_A_COPY) return true;
    const CopyState before = look_at_copy(folder, path, suffix::BEFORE, image, buffer);
    if (before == CopyState::Unreadable)
        return refuse_for(path, out_why, "the last one cannot be read", errno, suffix::BEFORE);
    return before != CopyState::OfAnotherList || keep_other_list(folder, path, suffix::BEFORE, out_why);
}

// Some file systems have no such thing, and on others nothing can have changed.
bool sync(int folder) { return fsync(folder) == 0 || errno == EINVAL || errno == EROFS; }

// The folder's own name, which may be as new as the copy: not every file system keeps it with what lies in it. One that
// cannot be opened is another user's.
bool sync_name_of(const Folder &folder) {
    const Descriptor parent(openat(folder.fd, "..", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return parent.fd < 0 || sync(parent.fd);
}

bool sync_folder(const Folder &folder, const StorePath &path, Refusal &out_why) {
    return (sync_name_of(folder) && sync(folder.fd)) || refuse_for(path, out_why, "its folder cannot be synced", errno);
}

}  // namespace

bool is_lost(int error) { return error == EIO || error == EBADMSG || error == EUCLEAN; }

Search read_saved_copy(const Folder &folder, const StorePath &path, Image &out_image, Refusal &out_why) {
    for (const char *end : {suffix::NONE, suffix::BEFORE}) {
        const CopyState state = read_copy(folder, path, end, out_image);
        if (state == CopyState::Whole) return Search::Found;
        if (state == CopyState::Absent) continue;
        if (state == CopyState::Unreadable) {
            refuse(out_why, "%s %.300s%s: cannot be read: %s", path.what, path.text, end, strerror(errno));
            return Search::OutOfReach;
        }
        // Left alone, as where the copy's name is chosen.
        if (state == CopyState::NoFile && *end == '\0') {
            note(out_why, "%s %.300s: %s", path.what, path.text, NOT_A_FILE);
            continue;
        }
        set_aside(folder, path, end, reason_of(state), out_why);
    }
    return Search::Nothing;
}

bool write_saved_copy(const Folder &folder, const StorePath &path, const Image &image, Refusal &out_why) {
    Image last;
    const CopyState state = look_at_copy(folder, path, suffix::NONE, image, last);
    const bool says_the_same = state == CopyState::Whole && digest_of(last) == digest_of(image);
    if (state == CopyState::NoFile) return refuse(out_why, "%s %.300s: %s", path.what, path.text, NOT_A_FILE);
    // Perhaps of another list, and then not to be pushed out.
    if (state == CopyState::Unreadable && beginning_of(image) != FROM_A_COPY)
        return refuse_for(path, out_why, "the last one cannot be read", errno);
    // It may have been cut off before it came so far.
    if (says_the_same && sync_folder(folder, path, out_why)) return true;
    out_why.text[0] = '\0';
    if (!keep_copy_before(folder, path, state, image, last, out_why)) return false;
    if (!write_fresh_copy(folder, path, image, out_why)) return false;
    // A cut between the two moves leaves the copy that was the last under the other name, where it is looked for too.
    if (!make_way(folder, path, state, out_why) || !move_file(folder, path, suffix::FRESH, suffix::NONE, out_why)) {
        drop_fresh_file(folder, path);  // where only its maker may, others could not save
        return false;
    }
    if (sync_folder(folder, path, out_why)) return true;
    // The file system tells once that something did not come to the disk. So the next save must not find the same here,
    // and writes anew.
    Refusal ignored;
    (void)move_file(folder, path, suffix::NONE, suffix::FRESH, ignored);
    return false;
}

}  // namespace kora
