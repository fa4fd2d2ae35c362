// A value for each code of sarn_update_table_field: it reads back in its own fields, and no other changes.
#include <iterator>
#include <sstream>

#include "fuzz.h"
#include "tools/device_record.h"

namespace {

// By code, from 1 on; the first member shows the value. Two codes take addresses alone.
constexpr char CODE_MEMBERS[] =
    "DeviceHua,DeviceDHCPOptions,DeviceDHCPHostname DeviceHostname DisplayNameDPI,DeviceDHCPVendor,DeviceIP,"
    "Devicestate Timestamp,DeviceConnectionInterface,DeviceTypeCustom,DisplayNameCustom,IsTagged,DisplayModelCustom,"
    "AllowOrBlock,ConnSSID,DeviceLinkRate,DownloadBW,UploadBW,DeviceSignalStrength,ConnAPMac,DisplayBrandCustom,"
    "DeviceCategory,DeviceUUID";

std::vector<std::string> members_of(int32_t code) {
    std::istringstream codes(CODE_MEMBERS);
    std::string names;
    while (code-- > 0) std::getline(codes, names, ',');
    std::istringstream words(names);
    return {std::istream_iterator<std::string>(words), {}};
}

device_info read_device(const char *mac) {
    device_info record;
    require(get_device_info_by_mac(&record, mac) == SARN_OK, "the device is gone");
    return record;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const OwnList list;
    const signature_record device = signature_of("02:00:00:00:00:01");
    require(update_device_signature(&device, 0) == SARN_OK, "no device");
    const device_info before = read_device(device.mac);

    Input input(data, size);
    const int32_t code = input.byte() % 24;
    const int32_t producer_id = input.byte() % 4 * 10;
    const std::string value = input.text();
    const auto length = static_cast<int32_t>(value.size());
    const int32_t result = sarn_update_table_field(device.mac, code, exact(value).data(), length, producer_id);
    const device_info after = read_device(device.mac);
    const bool is_code = code >= SARN_FIELD_HUA && code <= SARN_FIELD_UUID;
    const int32_t expected = !is_code ? SARN_ERR_FIELD_CODE : length < 1 || length > 256 ? SARN_ERR_LENGTH : SARN_OK;
    require(result == expected || (code == SARN_FIELD_AP_MAC && result == SARN_ERR_MAC), "another result");

    const std::vector<std::string> members = members_of(is_code ? code : 0);
    for (const tool::FieldSpec &field : tool::FIELDS) {
        const std::string_view old = tool::read_text(before, field), now = tool::read_text(after, field);
        const bool is_own = is_code && members.front() == field.name;
        if (result != SARN_OK || std::count(members.begin(), members.end(), field.name) == 0) {
            require(now == old, "another field changed:", field.name);
        } else if (is_own && code != SARN_FIELD_IP && code != SARN_FIELD_AP_MAC) {
            const bool is_kept = code <= SARN_FIELD_DHCP_VENDOR && value[0] == '\0';
            const std::string text = std::string(value.c_str()).substr(0, std::min<size_t>(255, field.width - 1));
            require(now == (is_kept ? old : text), "not what was written:", field.name);
        }
    }
    return 0;
}
