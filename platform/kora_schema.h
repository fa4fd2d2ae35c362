// From the names that callers pass to the fields of the schema, and what a field holds that no one has written.
#ifndef KORA_SCHEMA_H
#define KORA_SCHEMA_H

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include "core/schema.h"

namespace kora {

inline constexpr size_t NUMBER_SIZE = 4;
inline constexpr size_t MAC_SIZE = 6;
inline constexpr size_t IPV4_SIZE = 4;

struct Bytes {
    const void *data;
    size_t size;
};

inline bool is_same(Bytes one, Bytes other) {
    return one.size == other.size && memcmp(one.data, other.data, one.size) == 0;
}

// Changes with every name, type, number of rows and reset value, with where a field lies and with what a change of it
// does to the change number: a store of a build that differs in one of these is told apart by it.
uint32_t schema_fingerprint();

// Names are compared whole; false when the schema has no such field.
bool find_field(const char *table, const char *name, sarn::Field &out_field);

// Texts without their NUL.
Bytes reset_value(sarn::Field field);

}  // namespace kora

#endif
