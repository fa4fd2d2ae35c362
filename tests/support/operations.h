// Every operation on a device, for loops that hold all of them to one rule. Reports and names carry its MAC in every
// text, so that a row that mixes two devices shows.
#ifndef SARN_TESTS_OPERATIONS_H
#define SARN_TESTS_OPERATIONS_H

#include "tests/support/device.h"

using Mac = const char *;

struct Operation {
    const char *name;
    int (*call)(Mac mac, int producer_id);
    int without_row = SARN_OK;    // the answer for a MAC that has none; SARN_OK where it gets one
    int beside_others = SARN_OK;  // another answer while other processes write
    int of_no_mac = SARN_ERR_MAC, closed = SARN_ERR_NOT_INITIALISED;
    bool checks_producer = true;
};

// With its MAC in these texts.
template <class Record, class... Texts>
Record record_of(Mac mac, Texts Record::*...texts) {
    Record record = {};
    (set_text(record.*texts, mac), ...);
    return record;
}

inline int report_texts(Mac mac, int id, const char *state) {
    using R = signature_record;
    R record = record_of(mac, &R::mac, &R::hua, &R::dhcp_hostname, &R::dhcp_vendor, &R::dhcp_options,
                         &R::connection_interface, &R::category);
    set_text(record.ip, "192.168.1.7");
    set_text(record.state, state);
    return update_device_signature(&record, id);
}
inline int report_connection(Mac mac, int id) {
    using R = connected_device_record;
    R record = record_of(mac, &R::mac, &R::ssid);
    for (auto *figure : {&record.link_rate, &record.download_bw, &record.upload_bw, &record.signal_strength})
        set_text(*figure, "x");
    return update_connected_device_info(&record, id);
}
inline int report_detail(Mac mac, int id) {
    using R = device_detail_record;
    const R record = record_of(mac, &R::mac, &R::mac_vendor, &R::model, &R::os, &R::brand);
    return update_device_detail(&record, id);
}
template <int32_t Code>
int set_field(Mac mac, int id) {
    const std::string value = Code == SARN_FIELD_STATE ? "DOWN" : mac;
    return sarn_update_table_field(mac, Code, value.c_str(), static_cast<int32_t>(value.size()) + 1, id);
}
template <auto Update>
int set_display(Mac mac, int id) {
    return Update(mac, mac, 17, id);
}
inline int query(Mac mac, int) {
    device_info record;
    return get_device_info_by_mac(&record, mac);
}

inline constexpr int UNKNOWN = SARN_ERR_UNKNOWN_DEVICE, NO_ROW = SARN_ERR_NO_ROW, CLOSED = SARN_ERR_NOT_INITIALISED;
inline constexpr Operation OPERATIONS[] = {
    {"signature", [](Mac mac, int id) { return report_texts(mac, id, "UP"); }, SARN_OK, NO_ROW},  // the table is full
    {"connection", report_connection, NO_ROW},
    {"detail", report_detail, NO_ROW},
    {"field", set_field<SARN_FIELD_UUID>, NO_ROW},
    {"state", set_field<SARN_FIELD_STATE>, NO_ROW},
    {"name", set_display<update_device_displayname>, UNKNOWN, SARN_OK, UNKNOWN},
    {"type", set_display<update_device_displaytype>, UNKNOWN, SARN_OK, UNKNOWN},
    {"model", set_display<update_device_displaymodel>, UNKNOWN, SARN_OK, UNKNOWN},
    {"brand", set_display<update_device_displaybrand>, UNKNOWN, SARN_OK, UNKNOWN},
    {"read", query, UNKNOWN, SARN_ERR_ROW_LOST_DEVICE, SARN_ERR_MAC, CLOSED, false},
    {"remove", [](Mac mac, int) { return sarn_remove_macaddress_entry(mac); }, NO_ROW, SARN_ERR_DEVICE_UP, SARN_ERR_MAC,
     CLOSED, false},
    {"block", [](Mac mac, int id) { return sarn_update_pause_list(&mac, 0, 1, id); }, SARN_ERR_NOTHING_CHANGED, SARN_OK,
     SARN_ERR_MAC, SARN_ERR_NOT_READY, false},
};
inline constexpr size_t OPERATION_COUNT = std::size(OPERATIONS);

#endif
