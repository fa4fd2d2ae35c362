#include "mac_text.h"

#include <algorithm>

#include "refusal.h"

namespace tool {

namespace {

constexpr size_t DIGITS = 12;

struct Spelling {
    char separator;
    size_t groups;
    size_t least_digits;  // of a group; leading zeros that are left out count as zeros
};

constexpr Spelling SPELLINGS[] = {
    {':', 6, 1}, {'-', 6, 1}, {'.', 3, 4}, {'-', 2, 6}, {'\0', 1, DIGITS},
};

bool is_hexadecimal(char c) { return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f'); }

char upper(char c) { return c >= 'a' && c <= 'f' ? static_cast<char>(c - 'a' + 'A') : c; }

// The twelve digits, or less when the text is not spelt so.
std::string read_digits(std::string_view typed, const Spelling &spelling) {
    const size_t most_digits = DIGITS / spelling.groups;
    std::string digits;
    for (size_t group = 0; group < spelling.groups; ++group) {
        const bool is_last = group == spelling.groups - 1;
        const size_t length = is_last ? typed.size() : typed.find(spelling.separator);
        if (length == std::string_view::npos || length < spelling.least_digits || length > most_digits) return "";
        const std::string_view part = typed.substr(0, length);
        if (!std::ranges::all_of(part, is_hexadecimal)) return "";
        digits.append(most_digits - length, '0').append(part);
        typed.remove_prefix(is_last ? length : length + 1);
    }
    return digits;
}

}  // namespace

std::optional<std::string> read_mac(std::string_view typed) {
    for (const Spelling &spelling : SPELLINGS) {
        const std::string digits = read_digits(typed, spelling);
        if (digits.empty()) continue;
        std::string mac;
        for (size_t i = 0; i < DIGITS; ++i) {
            if (i != 0 && i % 2 == 0) mac += ':';
            mac += upper(digits[i]);
        }
        return mac;
    }
    return std::nullopt;
}

std::string require_mac(std::string_view typed) {
    const std::optional<std::string> mac = read_mac(typed);
    if (!mac) throw Refusal(EXIT_USAGE, in_quotes(typed) + " is not a MAC address, such as 02:AB:CD:EF:00:01");
    if (*mac == NO_MAC) throw Refusal(EXIT_USAGE, *mac + " stands for no device");
    return *mac;
}

}  // namespace tool
