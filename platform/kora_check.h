// A look at the live file before LMDB maps it. LMDB trusts every number in its pages, and what it would make of a
// damaged one ranges from a missing device to the end of the process. Each page is held against its place in the tree,
// and each value against the check that was stored with it.
#ifndef KORA_CHECK_H
#define KORA_CHECK_H

#include "kora_format.h"

namespace kora {

struct FileLook {
    int error = 0;         // why it could not be looked at
    bool is_ours = false;  // a store, or what is left of one
    bool is_format_whole = false;
    bool is_whole = false;  // the tree and each value, the format's among them
    Format format = {};     // where it is whole
};

// Nobody may write to the file meanwhile.
FileLook look_at_file(int fd);

}  // namespace kora

#endif
