// Text for JSON strings, and back. Lengths are in bytes; a NUL is a byte like any other.
#include <stddef.h>

#include "include/sarn.h"

namespace {

constexpr unsigned char FIRST_PRINTABLE = 0x20;
// Dropped on the way into JSON, as the control bytes without a short escape are.
constexpr unsigned char DROPPED = 0x96;

// The byte that follows the backslash; 0 when the byte has no short escape.
char escape_letter_of(char byte) {
    switch (byte) {
        case '\b': return 'b';
        case '\t': return 't';
        case '\n': return 'n';
        case '\f': return 'f';
        case '\r': return 'r';
        case '"':
        case '\\': return byte;
        default: return '\0';
    }
}

// What the byte after a backslash stands for; an unknown one stands for itself.
char escaped_byte_of(char letter) {
    switch (letter) {
        case 'b': return '\b';
        case 't': return '\t';
        case 'n': return '\n';
        case 'f': return '\f';
        case 'r': return '\r';
        default: return letter;
    }
}

bool is_dropped(char byte) {
    const auto value = static_cast<unsigned char>(byte);
    return value < FIRST_PRINTABLE || value == DROPPED;
}

}  // namespace

int32_t IsJsonEncodeNeeded(const char *text, uint32_t length) {
    int32_t count = 0;
    for (size_t i = 0; i <= length; ++i) {
        if (static_cast<unsigned char>(text[i]) < FIRST_PRINTABLE || text[i] == '"' || text[i] == '\\') ++count;
    }
    return count;
}

int32_t escapeJSON(const char *text, char *out, uint32_t length) {
    if (text == nullptr || out == nullptr || length == 0) return SARN_ERR_NO_TEXT;
    for (size_t i = 0; i < length; ++i) {
        const char letter = escape_letter_of(text[i]);
        if (letter != '\0') {
            *out++ = '\\';
            *out++ = letter;
        } else if (!is_dropped(text[i])) {
            *out++ = text[i];
        }
    }
    *out = '\0';
    return SARN_OK;
}

char *unescapeJSON(const char *text, char *out, uint32_t length) {
    if (text == nullptr || length == 0) return nullptr;
    char *end = out;
    bool is_escaped = false;
    for (size_t i = 0; i < length; ++i) {
        if (!is_escaped && text[i] == '\\') {
            is_escaped = true;
            continue;
        }
        *end++ = is_escaped ? escaped_byte_of(text[i]) : text[i];
        is_escaped = false;
    }
    return out;
}
