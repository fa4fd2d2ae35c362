// The one write transaction of this process: a single write or a writing group.
#ifndef KORA_WRITER_H
#define KORA_WRITER_H

#include "kora_walk.h"

namespace kora {

struct Writer {
    Walk walk;
    int error = 0;  // the first that happened; nothing of the transaction is kept then
    bool has_changed = false;
    bool is_counted = false;  // moved the change number
    bool is_decided = false;  // changed what must outlast a power cut
    bool is_limited = false;  // found the store so full that it may do no more than remove
    bool is_removal = false;  // began with clearing a field
};

// All of these with `writing` held.
extern Writer writer;

// Waits while other processes write, and for room.
int begin_writing();

// Changes nothing when the value is there already.
int change_value(Place place, Bytes value);
// Of a value that is known to be another than what is there.
int store_value(Place place, Bytes value);

struct WriteEnd {
    int error = 0;  // of what was to be kept, or made the caller drop it
    bool is_save_due = false;
    bool is_limited = false;  // a success that does not mean that others would succeed
};

// Keeps all that was changed, or nothing.
WriteEnd end_writing(bool is_kept);

}  // namespace kora

#endif
