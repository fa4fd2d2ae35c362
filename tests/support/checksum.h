// For what is contract as a whole and too long to be written twice: a change of any byte shows, and is to be meant.
#ifndef SARN_TESTS_CHECKSUM_H
#define SARN_TESTS_CHECKSUM_H

#include <cstdint>
#include <string>

inline constexpr char IF_MEANT[] = "The number found is the new one, if the change is meant; it is of:\n";

// FNV-1a.
inline uint32_t checksum_of(const std::string &text) {
    uint32_t checksum = 2166136261;
    for (const char byte : text) checksum = (checksum ^ static_cast<uint8_t>(byte)) * 16777619;
    return checksum;
}

#endif
