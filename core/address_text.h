// The address texts that callers send: what is accepted, and the one spelling that lookups compare.
#ifndef SARN_CORE_ADDRESS_TEXT_H
#define SARN_CORE_ADDRESS_TEXT_H

#include <stddef.h>

namespace sarn {

// The address of a row that holds no device.
inline constexpr char NO_DEVICE_MAC[] = "00:00:00:00:00:00";

// True for six two-digit hexadecimal pairs joined by colons that are not all zero; nothing after them is looked at.
bool mac_sanity_check(const char *text);

// Letters a to z among the first `length` bytes become upper case, whatever stands between them.
void upper_case(char *text, size_t length);

}  // namespace sarn

#endif
