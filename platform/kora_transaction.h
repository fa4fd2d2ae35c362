// Single values of the store: in the group of the calling thread, or each read in a snapshot and written in a
// transaction of its own.
#ifndef KORA_TRANSACTION_H
#define KORA_TRANSACTION_H

#include "kora_group.h"
#include "kora_open.h"
#include "kora_pool.h"
#include "kora_report.h"
#include "kora_walk.h"
#include "kora_writer.h"

namespace kora {

// Outside of groups: a reader with the snapshot of now, to be left with leave_snapshot; null with the result when there
// is none. Failures are logged.
Reader *enter_snapshot(const void *handle, Result &out_why_not);
void leave_snapshot(Reader &reader);

// To be called with no lock held: what is new is logged.
Result report_reading(int error);
Result report_writing(const WriteEnd &end);

// Where the thread's group reads.
inline Walk &group_walk() { return group.reader != nullptr ? group.reader->walk : writer.walk; }

template <class Body>
Result read_store(const void *handle, Body body) {
    Group &own = group;
    if (own.mode != GroupMode::None) {
        if (!is_open(handle)) return REFUSED;
        const int error = body(group_walk());
        if (error == 0) return DONE;
        own.read_error = error;
        return FAILED;
    }
    Result why_not = DONE;
    Reader *reader = enter_snapshot(handle, why_not);
    if (reader == nullptr) return why_not;
    const int error = body(reader->walk);
    leave_snapshot(*reader);
    return report_reading(error);
}

// Runs `take` on the value, which points into the store and ends with it, and answers with its error; on what the
// thread's group sees, or in a snapshot of its own. Failures are logged.
template <class Take>
Result read_value(const void *handle, Place place, Take take) {
    return read_store(handle, [&](Walk &walk) {
        Bytes value = {};
        const int error = find_value(walk, place, value);
        return error != 0 ? error : take(value);
    });
}

// Starts no transaction when the value is there already.
Result write_value(const void *handle, Place place, Bytes value);

}  // namespace kora

#endif
