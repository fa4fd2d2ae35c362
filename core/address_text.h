// The address texts that callers send: what is accepted, and the one spelling that lookups compare. And the one that
// they are told.
#ifndef SARN_CORE_ADDRESS_TEXT_H
#define SARN_CORE_ADDRESS_TEXT_H

#include <stddef.h>
#include <stdint.h>

namespace sarn {

// The address of a row that holds no device.
inline constexpr char NO_DEVICE_MAC[] = "00:00:00:00:00:00";

// True for six two-digit hexadecimal pairs joined by colons that are not all zero; nothing after them is looked at.
bool mac_sanity_check(const char *text);

// Letters a to z among the first `length` bytes become upper case, whatever stands between them.
void upper_case(char *text, size_t length);

// As wide as MappingRow::MACData, so that it is copied whole.
struct MacBytesText {
    char text[20];
};
MacBytesText mac_bytes_to_text(const uint8_t (&mac)[6]);

// A dotted quad and its NUL; the bytes behind it stay as they are.
inline constexpr size_t IPV4_TEXT_SIZE = sizeof "255.255.255.255";
void ipv4_to_text(const uint8_t (&ip)[4], char (&text)[IPV4_TEXT_SIZE]);

}  // namespace sarn

#endif
