#include "client_text.h"

#include <string.h>

#include <algorithm>

namespace sarn_dhcp {
namespace {

constexpr size_t LONGEST_CHARACTER = 4;

bool is_continuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U; }

size_t character_length(char first_byte) {
    const unsigned byte = static_cast<unsigned char>(first_byte);
    if (byte >= 0xF0U) return 4;
    if (byte >= 0xE0U) return 3;
    if (byte >= 0xC0U) return 2;
    return 1;
}

}  // namespace

size_t length_at_character(const char *text, size_t limit) {
    const size_t length = strnlen(text, limit + 1);
    if (length <= limit) return length;
    if (!is_continuation(text[limit])) return limit;
    for (size_t back = 1; back < LONGEST_CHARACTER && back <= limit; ++back) {
        const char byte = text[limit - back];
        if (!is_continuation(byte)) return character_length(byte) > back ? limit - back : limit;
    }
    return limit;
}

size_t length_to_store(const char *text, size_t stored, size_t shown) {
    const size_t length = length_at_character(text, stored - 1);
    const size_t seen = length_at_character(text, shown - 1);
    return std::min(length, shown - 1) == seen ? length : seen;
}

void escape_text(const char *text, char *out, size_t size) {
    static constexpr char DIGITS[] = "0123456789abcdef";
    constexpr size_t ESCAPED = 4;
    size_t used = 0;
    for (; *text != '\0'; ++text) {
        const unsigned byte = static_cast<unsigned char>(*text);
        const bool is_plain = byte >= ' ' && byte <= '~' && byte != '\\';
        if (used + (is_plain ? 1 : ESCAPED) >= size) break;
        if (is_plain) {
            out[used++] = *text;
            continue;
        }
        out[used++] = '\\';
        out[used++] = 'x';
        out[used++] = DIGITS[byte >> 4U];
        out[used++] = DIGITS[byte & 0xFU];
    }
    out[used] = '\0';
}

}  // namespace sarn_dhcp
