// A process that forks while its other threads are inside calls.
#ifndef SARN_CORE_FORK_GUARD_H
#define SARN_CORE_FORK_GUARD_H

#include "core/state.h"

namespace sarn {

// From now on a fork waits until no thread of this process is in the middle of a change, so that the child's picture of
// the rows is whole and its locks are free. To be called after the store is open: the store's own locks come after the
// library's, also at a fork.
void guard_forks() SARN_REQUIRES(state_lock);

}  // namespace sarn

#endif
