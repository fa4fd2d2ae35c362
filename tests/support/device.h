// Devices as all tests number them, and a report of one.
#ifndef SARN_TESTS_DEVICE_H
#define SARN_TESTS_DEVICE_H

#include <cstdio>
#include <cstring>
#include <string>

#include "include/sarn.h"

inline std::string mac_of(int number) {
    char text[18];
    std::snprintf(text, sizeof text, "02:00:00:00:%02X:%02X", number >> 8 & 0xFF, number & 0xFF);
    return text;
}

// Fills a text of a record; a longer one is cut. The library leaves '0' characters behind the end of most.
template <size_t Width>
void set_text(char (&field)[Width], const std::string &text, char behind = '\0') {
    std::memset(field, behind, Width);
    field[text.copy(field, Width - 1)] = '\0';
}

inline signature_record signature_of(const std::string &mac, const std::string &state = "UP") {
    signature_record record = {};
    set_text(record.mac, mac);
    set_text(record.ip, "192.168.1.7");
    set_text(record.state, state);
    return record;
}

#endif
