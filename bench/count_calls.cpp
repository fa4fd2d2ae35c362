// How often each public call asks the store, with 0, 10 and 256 devices, when nothing has changed since the call
// before: call,devices,operations,snapshots,transactions. Counts, not times: the same on every machine.
#include <cstring>

#include "bench/device.h"
#include "bench/library_calls.h"
#include "bench/store_counts.h"
#include "include/sarn.h"

namespace {

using namespace bench;

constexpr int COUNTED_SIZES[] = {0, 10, 256};
constexpr int DEVICE = 3;
constexpr int PAUSED = 10;
constexpr int32_t NO_PRODUCER = 0;
constexpr int32_t SHORT_TEXT = 5;

struct CountedCall {
    const char *name;
    void (*call)();
    void (*prepare)() = nullptr;
};

// What the calls are made on: a known device. In an empty list a report makes it, and all else finds it unknown.
int devices = 0;
MacText mac = {};
MacText last_mac = {};
uint32_t words[SARN_BITMAP_WORDS];
device_info record;

void pause_ten(uint8_t state) {
    MacText texts[PAUSED];
    const char *macs[PAUSED];
    for (int i = 0; i < PAUSED; ++i) macs[i] = (texts[i] = mac_of(i)).text;
    (void)sarn_update_pause_list(macs, state, PAUSED, NO_PRODUCER);
}

void update_detail(const char *model) {
    device_detail_record detail = {};
    std::memcpy(detail.mac, mac.text, sizeof mac.text);
    std::snprintf(detail.model, sizeof detail.model, "%s", model);
    std::snprintf(detail.type, sizeof detail.type, "SMART_PLUG");
    (void)update_device_detail(&detail, NO_PRODUCER);
}

void update_connection(const char *signal) {
    connected_device_record connection = {};
    std::memcpy(connection.mac, mac.text, sizeof mac.text);
    std::snprintf(connection.ssid, sizeof connection.ssid, "network");
    std::snprintf(connection.signal_strength, sizeof connection.signal_strength, "%s", signal);
    (void)update_connected_device_info(&connection, NO_PRODUCER);
}

void write_field(int32_t code, const char *value) {
    (void)sarn_update_table_field(mac.text, code, value, static_cast<int32_t>(std::strlen(value)), NO_PRODUCER);
}

void forget(const MacText &gone) {
    (void)sarn_update_table_field(gone.text, SARN_FIELD_STATE, "idle", SHORT_TEXT, NO_PRODUCER);
    (void)sarn_remove_macaddress_entry(gone.text);
}
void forget_last() { forget(last_mac); }
void make_last_removable() {
    if (devices == 0) return;
    report_signature(devices - 1, -1);
    (void)sarn_update_table_field(last_mac.text, SARN_FIELD_STATE, "idle", SHORT_TEXT, NO_PRODUCER);
}
void report_last() { report_signature(devices > 0 ? devices - 1 : DEVICE, -1); }

const CountedCall COUNTED_CALLS[] = {
    {"sarn_init", [] { (void)sarn_init(); }, [] { (void)sarn_uninit(); }},
    {"sarn_uninit", [] { (void)sarn_uninit(); }},
    {"init_mapping_table", [] { (void)init_mapping_table(); }},
    {"create_mapping_table", [] { (void)create_mapping_table(); }},
    {"print_mapping_table", [] { (void)print_mapping_table(); }},
    {"sarn_table_enquiry", [] { (void)sarn_table_enquiry(words, SARN_BITMAP_WORDS); }},
    {"get_total_sarn_entries_used", [] { (void)get_total_sarn_entries_used(); }},
    {"check_update_mapping_table, known",
     [] { (void)check_update_mapping_table(mac.text, SARN_PRODUCER_LOOKUP_ONLY); }},
    {"check_macaddress_entry", [] { (void)check_macaddress_entry(mac.text); }},
    {"check_macaddress_by_index", [] { std::free(check_macaddress_by_index(DEVICE)); }},
    {"get_device_info_at_index", [] { (void)get_device_info_at_index(&record, DEVICE); }},
    {"get_device_info_by_mac", [] { (void)get_device_info_by_mac(&record, mac.text); }},
    {"sarn_device_state_info, in use",
     [] { (void)sarn_device_state_info(words, SARN_BITMAP_WORDS, SARN_ROWS_IN_USE); }},
    {"sarn_device_state_info, up", [] { (void)sarn_device_state_info(words, SARN_BITMAP_WORDS, SARN_ROWS_UP); }},
    {"update_device_signature, nothing new", [] { report_signature(DEVICE, -1); },
     [] { report_signature(DEVICE, -1); }},
    {"update_device_signature, every text new", [] { report_signature(DEVICE, 1); },
     [] { report_signature(DEVICE, 2); }},
    {"update_device_signature, new device", report_last, forget_last},
    {"update_connected_device_info, nothing new", [] { update_connection("-50"); }, [] { update_connection("-50"); }},
    {"update_connected_device_info, new signal", [] { update_connection("-50"); }, [] { update_connection("-60"); }},
    {"sarn_update_table_field, nothing new", [] { write_field(SARN_FIELD_TYPE_CUSTOM, "Printer"); },
     [] { write_field(SARN_FIELD_TYPE_CUSTOM, "Printer"); }},
    {"sarn_update_table_field, new value", [] { write_field(SARN_FIELD_TYPE_CUSTOM, "Printer"); },
     [] { write_field(SARN_FIELD_TYPE_CUSTOM, "Camera"); }},
    {"sarn_update_table_field, new state", [] { write_field(SARN_FIELD_STATE, "UP"); },
     [] { write_field(SARN_FIELD_STATE, "idle"); }},
    {"sarn_remove_macaddress_entry", [] { (void)sarn_remove_macaddress_entry(last_mac.text); }, make_last_removable},
    {"update_device_detail", [] { update_detail("one"); }, [] { update_detail("other"); }},
    {"post_processor_update", [] { (void)post_processor_update(mac.text, "SMART_PLUG", "name", NO_PRODUCER); }},
    {"update_device_displayname", [] { (void)update_device_displayname(mac.text, "first", SHORT_TEXT, NO_PRODUCER); },
     [] { (void)update_device_displayname(mac.text, "other", SHORT_TEXT, NO_PRODUCER); }},
    {"update_device_displaytype", [] { (void)update_device_displaytype(mac.text, "first", SHORT_TEXT, NO_PRODUCER); },
     [] { (void)update_device_displaytype(mac.text, "other", SHORT_TEXT, NO_PRODUCER); }},
    {"update_device_displaymodel", [] { (void)update_device_displaymodel(mac.text, "first", SHORT_TEXT, NO_PRODUCER); },
     [] { (void)update_device_displaymodel(mac.text, "other", SHORT_TEXT, NO_PRODUCER); }},
    {"update_device_displaybrand", [] { (void)update_device_displaybrand(mac.text, "first", SHORT_TEXT, NO_PRODUCER); },
     [] { (void)update_device_displaybrand(mac.text, "other", SHORT_TEXT, NO_PRODUCER); }},
    {"notifyBrixForNdn", [] { notifyBrixForNdn(DEVICE); }},
    {"check_and_set_default_devicetype", [] { check_and_set_default_devicetype(DEVICE); }},
    {"sarn_update_pause_list, ten", [] { pause_ten(0); }, [] { pause_ten(1); }},
    {"sarn_set_ACL", [] { (void)sarn_set_ACL(1); }, [] { (void)sarn_set_ACL(0); }},
    {"sarn_get_ACL", [] { (void)sarn_get_ACL(); }},
    {"set_sarn_upgrade_status", [] { (void)set_sarn_upgrade_status(1); }, [] { (void)set_sarn_upgrade_status(0); }},
    {"get_sarn_upgrade_status",
     [] {
         uint8_t status = 0;
         (void)get_sarn_upgrade_status(&status);
     }},
    {"sarn_weekly_refresh_request", [] { (void)sarn_weekly_refresh_request(); }},
    {"checkMacAddr", [] { (void)checkMacAddr(mac.text); }},
    {"escapeJSON",
     [] {
         char escaped[2 * sizeof mac.text + 1];
         (void)escapeJSON(mac.text, escaped, sizeof mac.text);
     }},
};

void count(const CountedCall &one) {
    if (one.prepare != nullptr) one.prepare();
    if (devices == 0) forget(mac);
    (void)sarn_table_enquiry(words, SARN_BITMAP_WORDS);  // the picture of the rows is current
    store_counts = {};
    one.call();
    const StoreCounts counted = store_counts;
    (void)sarn_init();  // where the call closed the library
    std::printf("\"%s\",%d,%lld,%lld,%lld\n", one.name, devices, static_cast<long long>(counted.operations),
                static_cast<long long>(counted.snapshots), static_cast<long long>(counted.transactions));
}

}  // namespace

int main() {
    for (const int size : COUNTED_SIZES) {
        const Router router(size);
        devices = size;
        mac = mac_of(DEVICE);
        last_mac = mac_of(size > 0 ? size - 1 : DEVICE);
        for (const CountedCall &one : COUNTED_CALLS) count(one);
    }
}
