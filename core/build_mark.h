// Whether a rebuild would find what this process knows already. Where the store tells a number that moves with every
// change of what a rebuild reads, the number of the last rebuild answers that, as long as nothing in this process has
// changed the state since in a way that a rebuild would set otherwise. Without such a store every rebuild runs.
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

// A change of this process' own after which the state is again what a rebuild would find: noted as the last thing in
// its group, if the build was current as the first, and kept once the group was.
struct FollowedChange {
    uint64_t number;
    bool is_followed;
};
FollowedChange note_followed_change() SARN_REQUIRES(state_lock);
void follow_build(const FollowedChange &change) SARN_REQUIRES(state_lock);

bool is_build_current() SARN_REQUIRES_SHARED(state_lock);

}  // namespace sarn

#endif
