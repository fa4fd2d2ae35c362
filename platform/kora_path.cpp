#include "kora_path.h"

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "kora.h"
#include "kora_descriptors.h"
#include "kora_folder.h"

namespace kora {

namespace {

constexpr char DEFAULT_SAVED_COPY[] = "/var/lib/kora/saved";

bool is_named(const char *name) { return name != nullptr && *name != '\0'; }

bool read_path(const char *named, const char *what, StorePath &out_path, Refusal &out_why) {
    char folder[PATH_MAX] = "";
    if (*named != '/' && getcwd(folder, sizeof folder - 1) == nullptr) {
        return refuse(out_why, "%s %.300s: the working folder cannot be read: %s", what, named, strerror(errno));
    }
    const char *joint = *named == '/' || strcmp(folder, "/") == 0 ? "" : "/";
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

}  // namespace

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
           refuse(out_why, "%s %.300s: %s", out_path.what, out_path.text, NOT_A_FILE);
}

FileName name_with(const StorePath &path, const char *suffix) {
    FileName name;
    snprintf(name.text, sizeof name.text, "%.*s%s", NAME_MAX - SUFFIX_SIZE, path.file_name(), suffix);
    return name;
}

bool refuse_for(const StorePath &path, Refusal &out_why, const char *what, int error, const char *suffix) {
    refuse(out_why, "%s %.300s%s: %s: %s", path.what, path.text, suffix, what, strerror(error));
    errno = error;
    return false;
}

FolderName folder_name(const StorePath &path) {
    FolderName name;
    const int length = static_cast<int>(path.folder_length);
    if (length > 0) snprintf(name.text, sizeof name.text, "%.*s", length, path.text);
    return name;
}

}  // namespace kora
