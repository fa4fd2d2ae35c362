// Where the store and the saved copy lie, and the names of what else lies there.
#ifndef KORA_PATH_H
#define KORA_PATH_H

#include <limits.h>
#include <stddef.h>

#include "kora_report.h"

namespace kora {

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

inline constexpr char NOT_A_FILE[] = "not a file";  // a reason, for messages

struct StorePath {
    const char *what;  // for messages
    char text[PATH_MAX];
    size_t folder_length;  // of the folder's part, its slash not counted

    const char *file_name() const { return text + folder_length + 1; }
};

struct FolderName {
    char text[PATH_MAX] = "/";
};
FolderName folder_name(const StorePath &path);

// From KORA_STORE or the default; always absolute, so that a later opening means the same file.
bool read_store_path(StorePath &out_path, Refusal &out_why);

// From KORA_SAVE, or the default of the default store. Empty when none is wanted, and refused without a reason
// then.
bool read_saved_path(const StorePath &store_path, StorePath &out_path, Refusal &out_why);

// A file's name with a suffix. Fits: the paths were read with room for every suffix.
struct FileName {
    char text[NAME_MAX + 1];
};
FileName name_with(const StorePath &path, const char *suffix);

// Leaves errno at `error`.
bool refuse_for(const StorePath &path, Refusal &out_why, const char *what, int error,
                const char *suffix = suffix::NONE);

}  // namespace kora

#endif
