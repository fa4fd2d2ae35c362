// Single values of the store, each read in a snapshot and written in a transaction of its own.
#ifndef KORA_TRANSACTION_H
#define KORA_TRANSACTION_H

#include "kora_report.h"
#include "kora_schema.h"

namespace kora {

struct Place {
    sarn::Field field;
    uint8_t row;
};

// Copies at most `capacity` bytes of the value and tells how many. A stored value whose size is not between `least`
// and `most` is damage, and fails.
Result read_value(const void *handle, Place place, void *buffer, size_t capacity, size_t least, size_t most,
                  size_t &out_size);

// Starts no transaction when the value is there already.
Result write_value(const void *handle, Place place, Bytes value);

}  // namespace kora

#endif
