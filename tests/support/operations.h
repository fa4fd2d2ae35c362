// Every operation on a device, for loops that hold all of them to one rule.
#ifndef SARN_TESTS_OPERATIONS_H
#define SARN_TESTS_OPERATIONS_H

#include "support/library_test.h"

using Mac = const char *;

struct Operation {
    const char *name;
    int (*call)(Mac mac, int producer_id);
    int without_row;  // the answer for a MAC that has none; SARN_OK where it gets one
    int of_no_mac = SARN_ERR_MAC, closed = SARN_ERR_NOT_INITIALISED;
    bool checks_producer = true;
};

template <class Record>
Record record_of(Mac mac) {
    Record record = {};
    set_text(record.mac, mac);
    return record;
}

inline int report_connection(Mac mac, int id) {
    const auto record = record_of<connected_device_record>(mac);
    return update_connected_device_info(&record, id);
}
inline int report_detail(Mac mac, int id) {
    const auto record = record_of<device_detail_record>(mac);
    return update_device_detail(&record, id);
}
inline int set_ssid(Mac mac, int id) { return sarn_update_table_field(mac, SARN_FIELD_SSID, "x", 2, id); }
inline int set_down(Mac mac, int id) { return sarn_update_table_field(mac, SARN_FIELD_STATE, "DOWN", 5, id); }
inline int query(Mac mac, int) {
    device_info record;
    return get_device_info_by_mac(&record, mac);
}

inline constexpr int UNKNOWN = SARN_ERR_UNKNOWN_DEVICE;
inline constexpr Operation OPERATIONS[] = {
    {"report", [](Mac mac, int id) { return report(mac, "UP", id); }, SARN_OK},
    {"connection", report_connection, SARN_ERR_NO_ROW},
    {"detail", report_detail, SARN_ERR_NO_ROW},
    {"field", set_ssid, SARN_ERR_NO_ROW},
    {"state", set_down, SARN_ERR_NO_ROW},
    {"name", [](Mac mac, int id) { return update_device_displayname(mac, "x", 1, id); }, UNKNOWN, UNKNOWN},
    {"type", [](Mac mac, int id) { return update_device_displaytype(mac, "x", 1, id); }, UNKNOWN, UNKNOWN},
    {"model", [](Mac mac, int id) { return update_device_displaymodel(mac, "x", 1, id); }, UNKNOWN, UNKNOWN},
    {"brand", [](Mac mac, int id) { return update_device_displaybrand(mac, "x", 1, id); }, UNKNOWN, UNKNOWN},
    {"query", query, UNKNOWN, SARN_ERR_MAC, SARN_ERR_NOT_INITIALISED, false},
    {"removal", [](Mac mac, int) { return sarn_remove_macaddress_entry(mac); }, SARN_ERR_NO_ROW, SARN_ERR_MAC,
     SARN_ERR_NOT_INITIALISED, false},
    {"pause", [](Mac mac, int id) { return sarn_update_pause_list(&mac, 0, 1, id); }, SARN_ERR_NOTHING_CHANGED,
     SARN_ERR_MAC, SARN_ERR_NOT_READY, false},
};
inline constexpr size_t OPERATION_COUNT = std::size(OPERATIONS);

#endif
