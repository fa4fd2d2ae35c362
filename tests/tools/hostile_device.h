// A device whose every text tries something.
#ifndef SARN_TESTS_HOSTILE_DEVICE_H
#define SARN_TESTS_HOSTILE_DEVICE_H

#include <algorithm>
#include <string_view>

#include "sarn.h"

// As the library leaves a field: the text, its NUL, then '0' characters; full width when the text is that long.
template <size_t N>
void fill(char (&field)[N], std::string_view text) {
    std::fill_n(field, N, '0');
    text.copy(field, N);
    if (text.size() < N) field[text.size()] = '\0';
}

inline device_info hostile_device() {
    device_info device;
    std::fill_n(reinterpret_cast<char *>(&device), sizeof device, '0');
    fill(device.DisplayNameCustom, "");
    fill(device.DisplayNameDPI, "\033]0;owned\007\"M\xc3\xbcller\"\n%n%s");
    fill(device.DeviceDHCPVendor, "\xc0\x80\xff\xc2\x9b\x7f");
    fill(device.DeviceHua, std::string_view("\xe7\x8c\xab", 3));
    fill(device.DeviceMAC, "02:00:00:00:00:01");
    fill(device.DeviceIP, "192.168.1.20");
    fill(device.Devicestate, "\033[31mUP\r");
    fill(device.AllowOrBlock, "block");
    fill(device.Timestamp, "86400");
    device.Producerid = UINT32_MAX;
    return device;
}

#endif
