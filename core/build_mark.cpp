#include "core/build_mark.h"

#include <string.h>

#include "core/offline_cleanup.h"
#include "core/store.h"

namespace sarn {

namespace {

struct BuildMark {
    uint64_t number;
    bool has_number;  // read in the snapshot of the build
    bool is_current;
    decltype(gc_epochtime_array) candidates;
};

BuildMark mark SARN_GUARDED_BY(state_lock);

}  // namespace

void note_build_number() { mark.has_number = read_change_number(&mark.number); }

void forget_build_number() { mark.has_number = false; }

void mark_build_current() {
    mark.is_current = mark.has_number;
    memcpy(mark.candidates, gc_epochtime_array, sizeof mark.candidates);
}

void forget_build() { mark.is_current = false; }

FollowedChange note_followed_change() {
    FollowedChange change = {};
    change.is_followed = read_change_number(&change.number);
    return change;
}

void follow_build(const FollowedChange &change) {
    mark.number = change.number;
    mark.is_current = change.is_followed;
}

bool is_build_overtaken() {
    uint64_t number = 0;
    return mark.has_number && read_change_number(&number) && number != mark.number;
}

bool is_build_current() {
    uint64_t number = 0;
    // A rebuild of a crowded table cleans up once more; and the host can write to the candidates.
    return mark.is_current && initialised == 1 && !is_clean_up_due() &&
           memcmp(mark.candidates, gc_epochtime_array, sizeof mark.candidates) == 0 && read_change_number(&number) &&
           number == mark.number;
}

}  // namespace sarn
