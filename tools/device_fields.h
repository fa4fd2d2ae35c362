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

// F(member, group, place within the group, label), in the order of the record.
#define SARN_TOOL_FIELDS(F)                                    \
    F(DeviceHua, Dhcp, 3, "HTTP user agent")                   \
    F(DeviceDHCPOptions, Dhcp, 2, "DHCP options asked for")    \
    F(DeviceDHCPHostname, Dhcp, 0, "DHCP host name")           \
    F(DeviceDHCPVendor, Dhcp, 1, "DHCP vendor class")          \
    F(DeviceHostname, Name, 2, "host name")                    \
    F(DeviceMacVendor, Kind, 7, "maker of its MAC address")    \
    F(DisplayNameCustom, Name, 0, "name given by you")         \
    F(DisplayNameDPI, Name, 1, "recognised name")              \
    F(DisplayNameQuorvex, Name, 3, "composed name")            \
    F(DeviceUUID, Kind, 11, "UUID")                            \
    F(DeviceBrand, Kind, 4, "recognised brand")                \
    F(DeviceCategory, Kind, 10, "category")                    \
    F(DeviceModel, Kind, 6, "recognised model")                \
    F(DeviceOS, Kind, 8, "operating system")                   \
    F(DeviceOSVersion, Kind, 9, "operating system version")    \
    F(DeviceTypeCustom, Kind, 0, "type given by you")          \
    F(DeviceTypeDPI, Kind, 2, "type as the recogniser put it") \
    F(DeviceTypeQuorvex, Kind, 1, "recognised type")           \
    F(DisplayModelCustom, Kind, 5, "model given by you")       \
    F(DisplayBrandCustom, Kind, 3, "brand given by you")       \
    F(FingResponsestatus, Record, 2, "recogniser's answer")    \
    F(DeviceConnectionInterface, Connection, 0, "interface")   \
    F(IsTagged, Address, 4, "tag")                             \
    F(ConnSSID, Connection, 1, "Wi-Fi network (SSID)")         \
    F(DeviceMAC, Address, 0, "MAC")                            \
    F(ConnAPMac, Connection, 2, "access point (MAC)")          \
    F(Timestamp, Record, 0, "last reported")                   \
    F(DeviceIP, Address, 1, "IP")                              \
    F(Devicestate, Address, 2, "state")                        \
    F(AllowOrBlock, Address, 3, "access")                      \
    F(DeviceLinkRate, Connection, 4, "link rate")              \
    F(UploadBW, Connection, 6, "upload bandwidth")             \
    F(DownloadBW, Connection, 5, "download bandwidth")         \
    F(DeviceSignalStrength, Connection, 3, "signal strength")  \
    F(Producerid, Record, 1, "producer")

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
constexpr Kind kind_of_member() {
    if constexpr (std::is_same_v<Member, uint32_t>) {
        return Kind::Number;
    } else {
        static_assert(std::is_same_v<std::remove_extent_t<Member>, char>);
        return Kind::Text;
    }
}

inline constexpr auto FIELDS = std::to_array<FieldSpec>({
#define SARN_TOOL_FIELD_SPEC(member, group, place, label) \
    {#member,                                             \
     label,                                               \
     offsetof(device_info, member),                       \
     sizeof(device_info::member),                         \
     kind_of_member<decltype(device_info::member)>(),     \
     Group::group,                                        \
     place},
    SARN_TOOL_FIELDS(SARN_TOOL_FIELD_SPEC)
#undef SARN_TOOL_FIELD_SPEC
});

constexpr bool fields_cover_the_record() {
    size_t end = 0;
    for (const FieldSpec &field : FIELDS) {
        if (field.offset != end) return false;
        end += field.width;
    }
    return end == sizeof(device_info);
}
static_assert(fields_cover_the_record());

}  // namespace tool

#endif
