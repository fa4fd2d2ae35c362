// Typed access to the store by field: the only place that calls the store, and the only one that knows its names.
//
// Every call answers false when the store refused or is not open, and then left the output as it was.
#ifndef SARN_CORE_STORE_H
#define SARN_CORE_STORE_H

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include "core/schema.h"
#include "core/state.h"

namespace sarn {

inline constexpr int32_t SINGLE_ROW = 0;

bool open_store() SARN_REQUIRES(state_lock);
void close_store() SARN_REQUIRES(state_lock);
bool is_store_open() SARN_REQUIRES_SHARED(state_lock);

// The number that moves with every change of what a rebuild reads; false where the store tells none.
[[nodiscard]] bool read_change_number(uint64_t *number) SARN_REQUIRES_SHARED(state_lock);

// Text of any of the three text types, cut to size - 1 characters.
[[nodiscard]] bool read_text(Field field, int32_t row, char *buffer, int32_t size) SARN_REQUIRES_SHARED(state_lock);
// An enum field through the plain text read, as the build of the mapping table does it.
[[nodiscard]] bool read_ascii(Field field, int32_t row, char *buffer, int32_t size) SARN_REQUIRES_SHARED(state_lock);
[[nodiscard]] bool read_bool(Field field, int32_t row, uint8_t *value) SARN_REQUIRES_SHARED(state_lock);
[[nodiscard]] bool read_uint(Field field, int32_t row, uint32_t *value) SARN_REQUIRES_SHARED(state_lock);
[[nodiscard]] bool read_mac(Field field, int32_t row, uint8_t (&mac)[6]) SARN_REQUIRES_SHARED(state_lock);
[[nodiscard]] bool read_ipv4(Field field, int32_t row, uint8_t (&ip)[4]) SARN_REQUIRES_SHARED(state_lock);

// A text field, or an address from its text; false too when the text is none.
[[nodiscard]] bool write_text(Field field, int32_t row, const char *text) SARN_REQUIRES_SHARED(state_lock);
// A bool, int or uint field.
[[nodiscard]] bool write_number(Field field, int32_t row, int32_t value) SARN_REQUIRES_SHARED(state_lock);
[[nodiscard]] bool write_mac(Field field, int32_t row, const uint8_t (&mac)[6]) SARN_REQUIRES_SHARED(state_lock);
[[nodiscard]] bool write_ipv4(Field field, int32_t row, const uint8_t (&ip)[4]) SARN_REQUIRES_SHARED(state_lock);
[[nodiscard]] bool write_reset_value(Field field, int32_t row) SARN_REQUIRES_SHARED(state_lock);

// The store's own text conversion; false when the text is none.
[[nodiscard]] bool mac_from_text(const char *text, uint8_t (&mac)[6]);

// A text that reads as empty when it cannot be read.
template <size_t Size>
void read_text_or_empty(Field field, int32_t row, char (&buffer)[Size]) SARN_REQUIRES_SHARED(state_lock) {
    memset(buffer, 0, Size);
    (void)read_text(field, row, buffer, Size);
}

template <size_t Size>
void read_ascii_or_empty(Field field, int32_t row, char (&buffer)[Size]) SARN_REQUIRES_SHARED(state_lock) {
    memset(buffer, 0, Size);
    (void)read_ascii(field, row, buffer, Size);
}

// True when an enum field can be read and is this word.
inline bool holds_word(Field field, int32_t row, const char *word) SARN_REQUIRES_SHARED(state_lock) {
    char held[8];
    read_text_or_empty(field, row, held);
    return strcmp(held, word) == 0;
}

}  // namespace sarn

#endif
