#include "device_text.h"

#include <wchar.h>

#include <clocale>

namespace tool {

namespace {

struct Character {
    char32_t value;
    size_t length;
    bool is_valid;
};

constexpr char32_t LAST_ASCII = 0x7E;
constexpr char32_t LAST_UNICODE = 0x10FFFF;
constexpr char ELLIPSIS[] = "\u2026";

Character decode_first(std::string_view text) {
    const auto byte = [text](size_t i) { return static_cast<unsigned char>(text[i]); };
    static constexpr Character BAD_BYTE = {0, 1, false};
    static constexpr char32_t SMALLEST_OF_LENGTH[] = {0, 0, 0x80, 0x800, 0x10000};

    if (byte(0) < 0x80) return {byte(0), 1, true};
    if (byte(0) < 0xC2 || byte(0) > 0xF4) return BAD_BYTE;
    const size_t length = byte(0) >= 0xF0 ? 4 : byte(0) >= 0xE0 ? 3 : 2;
    if (text.size() < length) return BAD_BYTE;
    char32_t value = byte(0) & (0x7Fu >> length);
    for (size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0u) != 0x80) return BAD_BYTE;
        value = (value << 6) | (byte(i) & 0x3Fu);
    }
    const bool is_surrogate = value >= 0xD800 && value <= 0xDFFF;
    if (value < SMALLEST_OF_LENGTH[length] || value > LAST_UNICODE || is_surrogate) return BAD_BYTE;
    return {value, length, true};
}

struct Range {
    char32_t first, last;
};

template <size_t N>
bool is_in(const Range (&ranges)[N], char32_t value) {
    for (const Range &range : ranges) {
        if (value >= range.first && value <= range.last) return true;
    }
    return false;
}

// Soft hyphens, fillers, direction marks, joiners, line separators, variation selectors, tags: they would let one name
// pass for another. U+FE0F stays behind a sign that becomes an emoji by it.
bool is_hidden(char32_t value, char32_t before) {
    static constexpr Range HIDDEN[] = {{0xAD, 0xAD},       {0x34F, 0x34F},    {0x61C, 0x61C},   {0x115F, 0x1160},
                                       {0x17B4, 0x17B5},   {0x180B, 0x180F},  {0x200B, 0x200F}, {0x2028, 0x202E},
                                       {0x2060, 0x206F},   {0x2800, 0x2800},  {0x3164, 0x3164}, {0xFE00, 0xFE0E},
                                       {0xFEFF, 0xFEFF},   {0xFFA0, 0xFFA0},  {0xFFF9, 0xFFFB}, {0x1BCA0, 0x1BCA3},
                                       {0x1D173, 0x1D17A}, {0xE0000, 0xE0FFF}};
    static constexpr Range SIGNS[] = {{0xA9, 0xA9},     {0xAE, 0xAE},     {0x203C, 0x2049},  {0x2122, 0x2139},
                                      {0x2194, 0x21AA}, {0x231A, 0x23FF}, {0x25AA, 0x27BF},  {0x2934, 0x2935},
                                      {0x2B05, 0x2B55}, {0x3030, 0x303D}, {0x1F000, 0x1FAFF}};
    constexpr char32_t EMOJI_STYLE = 0xFE0F;
    return value == EMOJI_STYLE ? !is_in(SIGNS, before) : is_in(HIDDEN, value);
}

// -1 for what a terminal does not print. The environment's own locale may know ASCII alone, so it is not asked.
int columns_of(char32_t value) {
    if (value < ' ') return -1;
    if (value <= LAST_ASCII) return 1;
    static const locale_t UTF8 = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    if (UTF8 == nullptr) return value < 0xA0 ? -1 : 1;
    const locale_t before = uselocale(UTF8);
    const int columns = wcwidth(static_cast<wchar_t>(value));
    uselocale(before);
    return columns;
}

void append_hex(std::string &out, std::string_view bytes) {
    static constexpr char DIGITS[] = "0123456789abcdef";
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        out += {'\\', 'x', DIGITS[byte >> 4], DIGITS[byte & 0xF]};
    }
}

}  // namespace

std::string escape_for_terminal(std::string_view text) {
    std::string out;
    char32_t before = 0;
    while (!text.empty()) {
        const Character character = decode_first(text);
        const std::string_view bytes = text.substr(0, character.length);
        if (!character.is_valid || is_hidden(character.value, before) || columns_of(character.value) < 0) {
            append_hex(out, bytes);
        } else {
            if (character.value == '\\') out += '\\';
            out += bytes;
        }
        before = character.value;
        text.remove_prefix(character.length);
    }
    return out;
}

size_t display_width(std::string_view escaped) {
    size_t columns = 0;
    while (!escaped.empty()) {
        const Character character = decode_first(escaped);
        columns += static_cast<size_t>(columns_of(character.value));
        escaped.remove_prefix(character.length);
    }
    return columns;
}

std::string cut_to_width(std::string_view escaped, size_t width) {
    if (display_width(escaped) <= width) return std::string(escaped);
    size_t columns = 1;  // the ellipsis
    size_t kept = 0;
    while (kept < escaped.size()) {
        const Character character = decode_first(escaped.substr(kept));
        columns += static_cast<size_t>(columns_of(character.value));
        if (columns > width) break;
        kept += character.length;
    }
    return std::string(escaped.substr(0, kept)) + ELLIPSIS;
}

}  // namespace tool
