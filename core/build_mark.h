// Whether a rebuild would find anything new. The store's change number as of the last rebuild answers that, unless this
// process has changed its own state since in a way that a rebuild would set otherwise. Where the store tells no such
// number, every rebuild runs.
#ifndef SARN_CORE_BUILD_MARK_H
#define SARN_CORE_BUILD_MARK_H

#include <stdint.h>

#include "core/state.h"

namespace sarn {

// First in a build, in the snapshot that it reads.
void note_build_number() SARN_REQUIRES(state_lock);

// The build could not read or mend all that it looked at: its number does not stand for what it found.
void forget_build_number() SARN_REQUIRES(state_lock);

// The build went through and nothing but it has touched the state: its number holds.
void mark_build_current() SARN_REQUIRES(state_lock);

// The state changed otherwise than by a rebuild: the next gate builds again.
void forget_build() SARN_REQUIRES(state_lock);

// A change by this process after which its picture matches the store again. Note it last in the group, if the build was
// current at the group's start, and call follow_build once the group is kept. One that was not noted forgets the build.
struct FollowedChange {
    uint64_t number;
    bool is_followed;
};
FollowedChange note_followed_change() SARN_REQUIRES(state_lock);
void follow_build(const FollowedChange &change) SARN_REQUIRES(state_lock);

// Somebody has changed what the last build read since. False also where the store cannot tell.
bool is_build_overtaken() SARN_REQUIRES(state_lock);

bool is_build_current() SARN_REQUIRES_SHARED(state_lock);

}  // namespace sarn

#endif
