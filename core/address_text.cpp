#include "core/address_text.h"

#include <stdio.h>
#include <string.h>

#include "core/state.h"

namespace sarn {

namespace {

constexpr int PAIRS = 6;
constexpr int PAIR_STRIDE = 3;
constexpr int QUAD_NUMBERS = 4;
constexpr int QUAD_MAX = 255;

constexpr bool is_decimal(char c) { return c >= '0' && c <= '9'; }
constexpr bool is_hexadecimal(char c) { return is_decimal(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

// A number of any length: the value stops growing once it is out of range, so it cannot wrap back into it.
bool is_in_quad_range(const char *digits) {
    int value = 0;
    for (; *digits != '\0' && value <= QUAD_MAX; ++digits) value = value * 10 + (*digits - '0');
    return value <= QUAD_MAX;
}

// A rebuild spells a MAC for every row, so the digits come from a table.
struct HexPairs {
    char of[256][2] = {};
};

constexpr HexPairs make_hex_pairs() {
    constexpr char DIGITS[] = "0123456789ABCDEF";
    HexPairs pairs;
    for (int byte = 0; byte < 256; ++byte) {
        pairs.of[byte][0] = DIGITS[byte >> 4];
        pairs.of[byte][1] = DIGITS[byte & 0x0F];
    }
    return pairs;
}

}  // namespace

bool mac_sanity_check(const char *text) {
    if (strncmp(text, NO_DEVICE_MAC, MAC_TEXT_LENGTH) == 0) return false;
    const char *digits = text;
    for (int pair = 0; pair < PAIRS; ++pair, digits += PAIR_STRIDE) {
        // In reading order, so that nothing after the text's NUL is looked at.
        if (!is_hexadecimal(digits[0]) || !is_hexadecimal(digits[1])) return false;
        if (pair < PAIRS - 1 && digits[2] != ':') return false;
    }
    return true;
}

void upper_case(char *text, size_t length) {
    for (size_t i = 0; i < length; ++i) {
        if (text[i] >= 'a' && text[i] <= 'z') text[i] = static_cast<char>(text[i] - 'a' + 'A');
    }
}

MacBytesText mac_bytes_to_text(const uint8_t (&mac)[6]) {
    static constexpr HexPairs PAIRS = make_hex_pairs();
    MacBytesText result = {"  :  :  :  :  :  "};
    char *pair = result.text;
    for (const uint8_t byte : mac) {
        memcpy(pair, PAIRS.of[byte], sizeof PAIRS.of[byte]);
        pair += sizeof "FF";
    }
    return result;
}

void ipv4_to_text(const uint8_t (&ip)[4], char (&text)[IPV4_TEXT_SIZE]) {
    char *out = text;
    for (const uint8_t number : ip) {
        if (out != text) *out++ = '.';
        if (number >= 100) *out++ = static_cast<char>('0' + number / 100);
        if (number >= 10) *out++ = static_cast<char>('0' + number / 10 % 10);
        *out++ = static_cast<char>('0' + number % 10);
    }
    *out = '\0';
}

}  // namespace sarn

int checkMacAddr(const char *text) {
    if (text == nullptr || strnlen(text, sarn::MAC_TEXT_LENGTH + 1) != sarn::MAC_TEXT_LENGTH) return 0;
    unsigned int value[sarn::PAIRS];
    return sscanf(text, "%02X:%02X:%02X:%02X:%02X:%02X", &value[0], &value[1], &value[2], &value[3], &value[4],
                  &value[5]) == sarn::PAIRS;
}

int valid_digit(const char *text) {
    if (text == nullptr) return 0;
    while (sarn::is_decimal(*text)) ++text;
    return *text == '\0';
}

int is_valid_ip(char *text) {
    if (text == nullptr) return 0;
    int numbers = 0;
    char *rest = nullptr;
    for (char *number = strtok_r(text, ".", &rest); number != nullptr; number = strtok_r(nullptr, ".", &rest)) {
        if (valid_digit(number) == 0 || !sarn::is_in_quad_range(number)) return 0;
        if (numbers <= sarn::QUAD_NUMBERS) ++numbers;
    }
    return numbers == sarn::QUAD_NUMBERS;
}
