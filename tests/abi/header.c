#include <stddef.h>

#include "include/sarn.h"
#include "platform/kora.h"

#define SAME(name, left, right) typedef char name[(left) == (right) ? 1 : -1]

SAME(signature_record_has_no_gaps, sizeof(signature_record), 560);
SAME(connected_device_record_has_no_gaps, sizeof(connected_device_record), 104);
SAME(device_detail_record_has_no_gaps, sizeof(device_detail_record), 345);
SAME(device_type_row_has_no_gaps, sizeof(device_type_row), 132);
SAME(device_info_has_no_gaps, sizeof(device_info), 1407);

/* Hosts are compiled against the order of the members as well: each one follows the one named before it. */
#define AFTER(type, before, member)                                     \
    SAME(type##_##member##_lies_after_##before, offsetof(type, member), \
         offsetof(type, before) + sizeof(((type *)0)->before))
#define AFTER3(type, a, b, c, d) \
    AFTER(type, a, b);           \
    AFTER(type, b, c);           \
    AFTER(type, c, d)
#define AFTER6(type, a, b, c, d, e, f, g) \
    AFTER3(type, a, b, c, d);             \
    AFTER3(type, d, e, f, g)

AFTER6(device_info, DeviceHua, DeviceDHCPOptions, DeviceDHCPHostname, DeviceDHCPVendor, DeviceHostname, DeviceMacVendor,
       DisplayNameCustom);
AFTER6(device_info, DisplayNameCustom, DisplayNameDPI, DisplayNameQuorvex, DeviceUUID, DeviceBrand, DeviceCategory,
       DeviceModel);
AFTER6(device_info, DeviceModel, DeviceOS, DeviceOSVersion, DeviceTypeCustom, DeviceTypeDPI, DeviceTypeQuorvex,
       DisplayModelCustom);
AFTER6(device_info, DisplayModelCustom, DisplayBrandCustom, FingResponsestatus, DeviceConnectionInterface, IsTagged,
       ConnSSID, DeviceMAC);
AFTER6(device_info, DeviceMAC, ConnAPMac, Timestamp, DeviceIP, Devicestate, AllowOrBlock, DeviceLinkRate);
AFTER3(device_info, DeviceLinkRate, UploadBW, DownloadBW, DeviceSignalStrength);
AFTER(device_info, DeviceSignalStrength, Producerid);
AFTER6(signature_record, hua, dhcp_hostname, dhcp_vendor, dhcp_options, connection_interface, category, mac);
AFTER(signature_record, mac, ip);
AFTER(signature_record, ip, state);
AFTER6(connected_device_record, ssid, mac, ap_mac, link_rate, download_bw, upload_bw, signal_strength);
AFTER6(device_detail_record, reserved_1, mac_vendor, reserved_2, model, os, brand, mac);
AFTER(device_detail_record, mac, type);
AFTER(device_type_row, key, display);
AFTER(device_type_row, display, id);
AFTER(gc_candidate, timestamp, row);

int use_header(device_info *record);
int use_header(device_info *record) { return get_device_info_at_index(record, 0) == SARN_OK && producer == 0; }
