// Several store operations as one group: one snapshot when reading; whole or not at all when writing, invisible to
// others before its end and undone when the process dies. A store that does not offer groups gets each operation by
// itself.
//
// A group has the shape of a function that takes its body, so it cannot be left open. Nothing in a body may log, start
// a thread or wait: the writer's group keeps all other writers out.
#ifndef SARN_CORE_GROUP_H
#define SARN_CORE_GROUP_H

#include <stdint.h>

#include "core/state.h"

namespace sarn {

// The first three are in core/store.cpp, which alone calls the store.

// True when the process' store offers groups. What a body checks once more, since other processes may have come between
// the look-up and the group, it checks only then: without groups the check would promise nothing.
bool has_groups();

enum class GroupMode : uint8_t { Reading, Writing };
[[nodiscard]] bool begin_group(GroupMode mode) SARN_REQUIRES_SHARED(state_lock);
[[nodiscard]] bool end_group(bool is_kept) SARN_REQUIRES_SHARED(state_lock);

enum class GroupEnd : uint8_t {
    Kept,
    Dropped,  // the body found that what it was to do is no longer right; nothing was written
    Failed    // the store could not begin or keep the group, or one of its writes; nothing was written
};

// The body returns whether its writes are to be kept; when one of them failed none is. It may need the lock
// exclusively, which its caller then holds; clang cannot follow that through a template.
template <typename Body>
GroupEnd write_group(Body body) SARN_REQUIRES_SHARED(state_lock) SARN_UNCHECKED {
    const bool is_grouped = has_groups();
    if (is_grouped && !begin_group(GroupMode::Writing)) return GroupEnd::Failed;
    const bool is_kept = body();
    if (is_grouped && !end_group(is_kept)) return GroupEnd::Failed;
    return is_kept ? GroupEnd::Kept : GroupEnd::Dropped;
}

// Where no snapshot is to be had the body reads without one: its own reads tell what fails. The lock as above.
template <typename Body>
auto read_group(Body body) SARN_REQUIRES_SHARED(state_lock) SARN_UNCHECKED {
    const bool is_grouped = has_groups() && begin_group(GroupMode::Reading);
    const auto result = body();
    if (is_grouped) (void)end_group(false);
    return result;
}

// The check that comes first in a group that writes to a row: does the row still hold the device that this process
// knows there? True also without groups, and when the MAC cannot be read: the row then counts as unchanged.
bool holds_known_device(int32_t row) SARN_REQUIRES_SHARED(state_lock);

}  // namespace sarn

#endif
