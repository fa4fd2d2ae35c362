// Texts that a client sent: any bytes, any length.
#ifndef SARN_PRODUCERS_CLIENT_TEXT_H
#define SARN_PRODUCERS_CLIENT_TEXT_H

#include <stddef.h>

namespace sarn_dhcp {

// The length of the longest start of `text` that has at most `limit` bytes and does not end within a UTF-8 character.
// Bytes that are not UTF-8 count as characters of their own.
size_t length_at_character(const char *text, size_t limit);

// The same for a text that is stored in `stored` bytes and shown in `shown` bytes, NUL included: neither of the two
// may end within a character.
size_t length_to_store(const char *text, size_t stored, size_t shown);

// Writes `text` with every byte that is not printable ASCII, and the backslash, as \xNN; cut to `size` - 1 bytes.
void escape_text(const char *text, char *out, size_t size);

}  // namespace sarn_dhcp

#endif
