// The members of device_info, once: the JSON keys, the lines of `sarn show` and every bounded read come from here.
#ifndef SARN_TOOLS_DEVICE_FIELDS_H
#define SARN_TOOLS_DEVICE_FIELDS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "sarn.h"

namespace tool {

enum class Group : uint8_t { Address, Name, Kind, Dhcp, Connection, Record };

inline constexpr const char *GROUP_TITLES[] = {"Address and access",     "Name",       "What it is",
                                               "What it said of itself", "Connection", "This record"};

enum class Kind : uint8_t { Text, Number };

struct FieldSpec {
    const char *name;
    const char *label;
    size_t offset;
    size_t width;
    Kind kind;
    Group group;
    uint8_t place;
};

template <class Member>
constexpr FieldSpec field_spec(const char *name, size_t offset, Group group, uint8_t place, const char *label) {
    constexpr bool IS_NUMBER = std::is_same_v<Member, uint32_t>;
    static_assert(IS_NUMBER || std::is_same_v<std::remove_extent_t<Member>, char>,
                  "nothing here prints a member of this type");
    return {name, label, offset, sizeof(Member), IS_NUMBER ? Kind::Number : Kind::Text, group, place};
}

#define SARN_TOOL_FIELD(member, group, place, label) \
    field_spec<decltype(device_info::member)>(#member, offsetof(device_info, member), Group::group, place, label)
// In the order of the record. The number is the place within the group.
inline constexpr auto FIELDS = std::to_array<FieldSpec>({
    SARN_TOOL_FIELD(DeviceHua, Dhcp, 3, "HTTP user agent"),
    SARN_TOOL_FIELD(DeviceDHCPOptions, Dhcp, 2, "DHCP options asked for"),
    SARN_TOOL_FIELD(DeviceDHCPHostname, Dhcp, 0, "DHCP host name"),
    SARN_TOOL_FIELD(DeviceDHCPVendor, Dhcp, 1, "DHCP vendor class"),
    SARN_TOOL_FIELD(DeviceHostname, Name, 2, "host name"),
    SARN_TOOL_FIELD(DeviceMacVendor, Kind, 7, "maker of its MAC address"),
    SARN_TOOL_FIELD(DisplayNameCustom, Name, 0, "name given by you"),
    SARN_TOOL_FIELD(DisplayNameDPI, Name, 1, "recognised name"),
    SARN_TOOL_FIELD(DisplayNameQuorvex, Name, 3, "composed name"),
    SARN_TOOL_FIELD(DeviceUUID, Kind, 11, "UUID"),
    SARN_TOOL_FIELD(DeviceBrand, Kind, 4, "recognised brand"),
    SARN_TOOL_FIELD(DeviceCategory, Kind, 10, "category"),
    SARN_TOOL_FIELD(DeviceModel, Kind, 6, "recognised model"),
    SARN_TOOL_FIELD(DeviceOS, Kind, 8, "operating system"),
    SARN_TOOL_FIELD(DeviceOSVersion, Kind, 9, "operating system version"),
    SARN_TOOL_FIELD(DeviceTypeCustom, Kind, 0, "type given by you"),
    SARN_TOOL_FIELD(DeviceTypeDPI, Kind, 2, "type as the recogniser put it"),
    SARN_TOOL_FIELD(DeviceTypeQuorvex, Kind, 1, "recognised type"),
    SARN_TOOL_FIELD(DisplayModelCustom, Kind, 5, "model given by you"),
    SARN_TOOL_FIELD(DisplayBrandCustom, Kind, 3, "brand given by you"),
    SARN_TOOL_FIELD(FingResponsestatus, Record, 2, "recogniser's answer"),
    SARN_TOOL_FIELD(DeviceConnectionInterface, Connection, 0, "interface"),
    SARN_TOOL_FIELD(IsTagged, Address, 4, "tag"),
    SARN_TOOL_FIELD(ConnSSID, Connection, 1, "Wi-Fi network (SSID)"),
    SARN_TOOL_FIELD(DeviceMAC, Address, 0, "MAC"),
    SARN_TOOL_FIELD(ConnAPMac, Connection, 2, "access point (MAC)"),
    SARN_TOOL_FIELD(Timestamp, Record, 0, "last reported"),
    SARN_TOOL_FIELD(DeviceIP, Address, 1, "IP"),
    SARN_TOOL_FIELD(Devicestate, Address, 2, "state"),
    SARN_TOOL_FIELD(AllowOrBlock, Address, 3, "access"),
    SARN_TOOL_FIELD(DeviceLinkRate, Connection, 4, "link rate"),
    SARN_TOOL_FIELD(UploadBW, Connection, 6, "upload bandwidth"),
    SARN_TOOL_FIELD(DownloadBW, Connection, 5, "download bandwidth"),
    SARN_TOOL_FIELD(DeviceSignalStrength, Connection, 3, "signal strength"),
    SARN_TOOL_FIELD(Producerid, Record, 1, "producer"),
});
#undef SARN_TOOL_FIELD

constexpr bool fields_cover_the_record() {
    size_t end = 0;
    for (const FieldSpec &field : FIELDS) {
        if (field.offset != end) return false;
        end += field.width;
    }
    return end == sizeof(device_info);
}
static_assert(fields_cover_the_record(), "a member is missing, or stands in another order than in the record");

}  // namespace tool

#endif
