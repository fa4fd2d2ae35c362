#include "bench/device.h"

namespace bench {

const char *const FIELD_NAMES[RECORD_FIELDS] = {
    "DeviceMAC",
    // what a report writes, from here to SignatureUpdateStatus
    "Devicestate", "DeviceDHCPOptions", "DeviceDHCPVendor", "DeviceDHCPHostname", "DeviceHostname", "DisplayNameDPI",
    "DeviceHua", "DeviceConnectionInterface", "DeviceCategory", "Producerid", "DeviceIP", "Timestamp",
    "SignatureUpdateStatus",
    // what others write
    "IsTagged", "AllowOrBlock", "DeviceBrand", "DeviceModel", "DeviceOS", "DeviceMacVendor", "DeviceOSVersion",
    "DeviceTypeCustom", "DeviceTypeDPI", "DeviceTypeQuorvex", "DeviceUUID", "DisplayModelCustom", "DisplayBrandCustom",
    "DisplayNameCustom", "DisplayNameQuorvex", "FingResponsestatus", "ConnSSID", "DeviceLinkRate",
    "DeviceSignalStrength", "DownloadBW", "UploadBW"};

MacText mac_of(int device) {
    MacText mac;
    std::snprintf(mac.text, sizeof mac.text, "02:00:00:00:%02X:%02X", static_cast<unsigned>(device) >> 8 & 0xFF,
                  static_cast<unsigned>(device) & 0xFF);
    return mac;
}

Report report_of(int device, int64_t turn) {
    const std::string mark = turn < 0 ? "" : "-" + std::to_string(turn % 1'000'000);
    const std::string name = "device-" + std::to_string(device) + mark;
    return {"UP",
            "1,3,6,15" + mark,
            "vendor" + mark,
            name,
            name,
            name,
            "agent" + mark,
            "eth0" + mark,
            "category" + mark,
            "0",
            turn % 2 == 0 ? "192.168.1.7" : "192.168.1.8",
            std::to_string(1'700'000'000 + (turn < 0 ? 0 : turn)),
            "1"};
}

}  // namespace bench
