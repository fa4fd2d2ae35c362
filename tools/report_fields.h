// The records of the three reports: which option fills which member, and where a device shows it.
#ifndef SARN_TOOLS_REPORT_FIELDS_H
#define SARN_TOOLS_REPORT_FIELDS_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

#include "device_record.h"
#include "refusal.h"
#include "sarn.h"

namespace tool {

enum class ReportForm : uint8_t { Text, Ip, Mac };

struct ReportField {
    const char *option;
    const char *help;
    size_t offset;
    size_t width;
    const FieldSpec *shown;
    bool is_cleared_by_empty;
    ReportForm form = ReportForm::Text;
    bool is_required = false;
    const char *needs = nullptr;  // an option without which the library passes this one over
};

struct Report {
    const char *name;
    const char *help;
    const char *footer;
    std::span<const ReportField> fields;
    size_t size;
    size_t mac_offset;
    Call call;
    bool is_stamped;  // the library writes the row's time as well
    int32_t (*send)(const void *record, int32_t producer);
};

#define SARN_TOOL_MEMBER(record, member) offsetof(record, member), sizeof(record::member)

inline constexpr ReportField DETAIL_FIELDS[] = {
    {"brand", "Its brand", SARN_TOOL_MEMBER(device_detail_record, brand), &field_named("DeviceBrand"), true},
    {"model", "Its model", SARN_TOOL_MEMBER(device_detail_record, model), &field_named("DeviceModel"), true},
    {"type", "The recogniser's key for its type, such as SMART_PLUG; `sarn types` lists them",
     SARN_TOOL_MEMBER(device_detail_record, type), &field_named("DeviceTypeDPI"), true},
    {"os", "Its operating system", SARN_TOOL_MEMBER(device_detail_record, os), &field_named("DeviceOS"), true},
    {"mac-vendor", "The maker of its MAC address", SARN_TOOL_MEMBER(device_detail_record, mac_vendor),
     &field_named("DeviceMacVendor"), true},
};

inline constexpr ReportField CONNECTION_FIELDS[] = {
    {"ssid", "Its Wi-Fi network", SARN_TOOL_MEMBER(connected_device_record, ssid), &field_named("ConnSSID"), true},
    {"ap-mac", "MAC address of its access point; left out, it stays", SARN_TOOL_MEMBER(connected_device_record, ap_mac),
     &field_named("ConnAPMac"), false, ReportForm::Mac},
    {"signal", "Its signal strength", SARN_TOOL_MEMBER(connected_device_record, signal_strength),
     &field_named("DeviceSignalStrength"), true},
    {"link-rate", "Its link rate", SARN_TOOL_MEMBER(connected_device_record, link_rate), &field_named("DeviceLinkRate"),
     true},
    {"download", "Its download bandwidth", SARN_TOOL_MEMBER(connected_device_record, download_bw),
     &field_named("DownloadBW"), true},
    {"upload", "Its upload bandwidth", SARN_TOOL_MEMBER(connected_device_record, upload_bw), &field_named("UploadBW"),
     true},
};

inline constexpr bool REQUIRED = true;

inline constexpr ReportField SIGNATURE_FIELDS[] = {
    {"ip", "Its IPv4 address", SARN_TOOL_MEMBER(signature_record, ip), &field_named("DeviceIP"), false, ReportForm::Ip,
     REQUIRED},
    {"state", "UP, DOWN, unknown, or another word", SARN_TOOL_MEMBER(signature_record, state),
     &field_named("Devicestate"), true, ReportForm::Text, REQUIRED},
    {"interface", "The interface it is seen on", SARN_TOOL_MEMBER(signature_record, connection_interface),
     &field_named("DeviceConnectionInterface"), true},
    {"category", "Its category", SARN_TOOL_MEMBER(signature_record, category), &field_named("DeviceCategory"), true},
    {"dhcp-options", "The DHCP options that it asked for, such as 1,3,6",
     SARN_TOOL_MEMBER(signature_record, dhcp_options), &field_named("DeviceDHCPOptions"), false},
    {"dhcp-vendor", "Its DHCP vendor class; taken together with --dhcp-options alone",
     SARN_TOOL_MEMBER(signature_record, dhcp_vendor), &field_named("DeviceDHCPVendor"), false, ReportForm::Text,
     !REQUIRED, "dhcp-options"},
    {"dhcp-hostname", "Its DHCP host name; also its host name and recognised name",
     SARN_TOOL_MEMBER(signature_record, dhcp_hostname), &field_named("DeviceDHCPHostname"), false},
    {"user-agent", "Its HTTP user agent", SARN_TOOL_MEMBER(signature_record, hua), &field_named("DeviceHua"), false},
};

#undef SARN_TOOL_MEMBER

template <class Record, int32_t (*update)(const Record *record, int32_t producer)>
int32_t send_record(const void *bytes, int32_t producer) {
    Record record;
    std::memcpy(&record, bytes, sizeof record);
    return update(&record, producer);
}

inline constexpr Report REPORTS[] = {
    {"detail", "What device recognition found of a device in the list",
     "The whole record is written: an option that is left out clears its field.", DETAIL_FIELDS,
     sizeof(device_detail_record), offsetof(device_detail_record, mac), Call::Report, true,
     send_record<device_detail_record, update_device_detail>},
    {"connection", "How a device in the list is connected",
     "The whole record is written: an option that is left out clears its field, but for --ap-mac.", CONNECTION_FIELDS,
     sizeof(connected_device_record), offsetof(connected_device_record, mac), Call::Report, false,
     send_record<connected_device_record, update_connected_device_info>},
    {"signature", "That a device is there or gone; a new one gets a row",
     "State, interface and category are always written: left out, the latter two are cleared. The other fields\n"
     "stay as they are when their option is left out.",
     SIGNATURE_FIELDS, sizeof(signature_record), offsetof(signature_record, mac), Call::Signature, true,
     send_record<signature_record, update_device_signature>},
};

}  // namespace tool

#endif
