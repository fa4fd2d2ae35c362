// The saved copy's files: the last copy under its name and the one before with ".1" behind, each whole or set aside.
#ifndef KORA_SAVED_FILES_H
#define KORA_SAVED_FILES_H

#include "kora_folder.h"
#include "kora_image.h"

namespace kora {

// What flash cannot give back any more must not keep the router without a list for ever.
bool is_lost(int error);

// A copy that cannot be reached now, perhaps by this user alone, may be whole: nothing is to be made in its place.
enum class Search : uint8_t { Found, Nothing, OutOfReach };

// The last whole copy. What is no copy is set aside, and the one before is tried. With the folder held locked.
Search read_saved_copy(const Folder &folder, const StorePath &path, Image &out_image, Refusal &out_why);

// Puts the image in the last copy's place, and that in the place of the one before. Writes nothing when the last copy
// says the same about all that was decided and its folder can be synced. With the folder held locked.
bool write_saved_copy(const Folder &folder, const StorePath &path, const Image &image, Refusal &out_why);

}  // namespace kora

#endif
