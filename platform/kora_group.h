// The group that the calling thread has open.
#ifndef KORA_GROUP_H
#define KORA_GROUP_H

#include "kora_pool.h"

namespace kora {

enum class GroupMode : uint8_t { None, Reading, Writing };

struct Group {
    GroupMode mode = GroupMode::None;
    const void *handle = nullptr;
    Reader *reader = nullptr;  // of a reading group, and of a writing one before its first change
    int read_error = 0;        // logged after the end: nothing calls the host's logger inside a group
};

extern constinit thread_local Group group;

inline bool is_in_group() { return group.mode != GroupMode::None; }

// Before the first group of the process. A thread that ends with its group open gives it up.
bool watch_threads();

}  // namespace kora

#endif
