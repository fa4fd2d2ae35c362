#include <string.h>

#include "kora.h"
#include "kora_report.h"
#include "kora_schema.h"

namespace {

constexpr int NOT_A_DIGIT = -1;
constexpr size_t MAC_TEXT_LENGTH = 17;
constexpr size_t PAIR_STEP = 3;  // two digits and the colon
constexpr uint32_t OCTET_MAX = 255;
constexpr int OCTET_DIGITS = 3;

int hex_value(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return NOT_A_DIGIT;
}

// Moves `text` past the digits; false when there are none, more than three, or they make more than 255.
bool read_octet(const char *&text, uint8_t &out_octet) {
    uint32_t value = 0;
    int digits = 0;
    for (; *text >= '0' && *text <= '9'; ++text) {
        if (++digits > OCTET_DIGITS) return false;
        value = value * 10 + static_cast<uint32_t>(*text - '0');
    }
    out_octet = static_cast<uint8_t>(value);
    return digits > 0 && value <= OCTET_MAX;
}

}  // namespace

extern "C" int32_t kora_string2mac(const char *text, uint8_t six[6]) {
    if (text == nullptr || six == nullptr || strnlen(text, MAC_TEXT_LENGTH + 1) != MAC_TEXT_LENGTH)
        return kora::REFUSED;
    uint8_t bytes[kora::MAC_SIZE];
    for (size_t i = 0; i < kora::MAC_SIZE; ++i) {
        const char *pair = text + i * PAIR_STEP;
        const int high = hex_value(pair[0]);
        const int low = hex_value(pair[1]);
        if (high == NOT_A_DIGIT || low == NOT_A_DIGIT) return kora::REFUSED;
        if (i + 1 < kora::MAC_SIZE && pair[2] != ':') return kora::REFUSED;
        bytes[i] = static_cast<uint8_t>(high << 4 | low);
    }
    memcpy(six, bytes, sizeof bytes);
    return 0;
}

extern "C" int32_t kora_string2ipv4(const char *text, uint8_t four[4]) {
    if (text == nullptr || four == nullptr) return kora::REFUSED;
    uint8_t bytes[kora::IPV4_SIZE];
    for (size_t i = 0; i < kora::IPV4_SIZE; ++i) {
        if (i > 0 && *text++ != '.') return kora::REFUSED;
        if (!read_octet(text, bytes[i])) return kora::REFUSED;
    }
    if (*text != '\0') return kora::REFUSED;
    memcpy(four, bytes, sizeof bytes);
    return 0;
}
