// A copy of a text that may lack its NUL: at most Width bytes are looked at, and the copy always ends.
#ifndef SARN_CORE_BOUNDED_TEXT_H
#define SARN_CORE_BOUNDED_TEXT_H

#include <stddef.h>
#include <string.h>

namespace sarn {

template <size_t Width>
struct BoundedText {
    char text[Width + 1] = {};

    explicit BoundedText(const char *source) { memcpy(text, source, strnlen(source, Width)); }
};

// The 17 characters that count and the one that follows them, which is logged where a caller sent it.
using MacText = BoundedText<18>;

template <size_t Width>
bool is_terminated(const char (&text)[Width]) {
    return memchr(text, '\0', Width) != nullptr;
}

inline bool is_one_of(const char *text, const char *first, const char *second) {
    return strcmp(text, first) == 0 || strcmp(text, second) == 0;
}

}  // namespace sarn

#endif
