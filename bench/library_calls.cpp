#include "bench/library_calls.h"

#include <unistd.h>

#include "bench/device.h"
#include "bench/folder.h"
#include "include/sarn.h"

namespace bench {

namespace {

enum { ROW = 3, PAUSED = 10 };  // known devices, at every size that is measured

template <size_t N>
void copy_text(char (&field)[N], const std::string &text) {
    std::snprintf(field, N, "%s", text.c_str());
}

constexpr const char *PRESENT = "UP";
// Neither up, which a removal refuses, nor offline, which a crowded table is cleaned of.
constexpr const char *REMOVABLE = "idle";

signature_record signature_of(int device, int64_t turn, const char *state) {
    const Report report = report_of(device, turn);
    signature_record record = {};
    copy_text(record.mac, mac_of(device).text);
    copy_text(record.state, state);
    copy_text(record.dhcp_options, report[1]);
    copy_text(record.dhcp_vendor, report[2]);
    copy_text(record.dhcp_hostname, report[3]);
    copy_text(record.hua, report[6]);
    copy_text(record.connection_interface, report[7]);
    copy_text(record.category, report[8]);
    copy_text(record.ip, report[10]);
    return record;
}

void send(const signature_record &record) { require(update_device_signature(&record, 0) == SARN_OK, "a signature"); }

void remove(const MacText &mac) { require(sarn_remove_macaddress_entry(mac.text) == SARN_OK, "a removal"); }

// What the calls below are given.
const MacText mac = mac_of(ROW);
MacText last_mac;
signature_record signature;
device_detail_record detail;
char value[16];
int value_length;
MacText paused_texts[PAUSED];
const char *paused[PAUSED];
uint8_t pause_state;

void record_by_row() {
    device_info record;
    require(get_device_info_at_index(&record, ROW) == SARN_OK, "a record by row");
}

void record_by_mac() {
    device_info record;
    require(get_device_info_by_mac(&record, mac.text) == SARN_OK, "a record by MAC");
}

void make_known_signature(int, int64_t) { signature = signature_of(ROW, -1, PRESENT); }
void make_new_signature(int, int64_t turn) { signature = signature_of(ROW, turn, PRESENT); }
void remove_last(int devices, int64_t) {
    signature = signature_of(devices - 1, -1, REMOVABLE);
    send(signature);
    remove(mac_of(devices - 1));
}
void send_signature() { send(signature); }

void make_value(int, int64_t turn) {
    value_length = std::snprintf(value, sizeof value, "-%d", static_cast<int>(turn % 1'000'000));
}
void one_field() {
    require(sarn_update_table_field(mac.text, SARN_FIELD_SIGNAL_STRENGTH, value, value_length, 0) == SARN_OK,
            "one field");
}

void report_last(int devices, int64_t) {
    last_mac = mac_of(devices - 1);
    send(signature_of(devices - 1, -1, REMOVABLE));
}
void removal() { remove(last_mac); }

void make_detail(int, int64_t turn) {
    const std::string mark = std::to_string(turn % 1'000'000);
    detail = {};
    copy_text(detail.mac, mac.text);
    copy_text(detail.mac_vendor, "maker-" + mark);
    copy_text(detail.model, "model-" + mark);
    copy_text(detail.os, "os-" + mark);
    copy_text(detail.brand, "brand-" + mark);
    copy_text(detail.type, turn % 2 == 0 ? "SMART_PLUG" : "LAPTOP");
}
void detail_update() { require(update_device_detail(&detail, 0) == SARN_OK, "a detail update"); }

void make_pause_list(int, int64_t turn) {
    for (int i = 0; i < PAUSED; ++i) paused[i] = (paused_texts[i] = mac_of(i)).text;
    pause_state = turn % 2 == 0 ? 0 : 1;
}
void pause_list() { require(sarn_update_pause_list(paused, pause_state, PAUSED, 0) == SARN_OK, "a pause list"); }

void state_bitmap() {
    uint32_t words[SARN_BITMAP_WORDS];
    require(sarn_device_state_info(words, SARN_BITMAP_WORDS, SARN_ROWS_UP) > 0, "a state bitmap");
}

}  // namespace

const std::array<LibraryCall, 10> LIBRARY_CALLS = {{
    {"record_by_row", nullptr, record_by_row},
    {"record_by_mac", nullptr, record_by_mac},
    {"signature_nothing_new", make_known_signature, send_signature},
    {"signature_all_new", make_new_signature, send_signature},
    {"signature_new_device", remove_last, send_signature},
    {"one_field_new_value", make_value, one_field},
    {"removal", report_last, removal},
    {"detail_update", make_detail, detail_update},
    {"pause_list_of_10", make_pause_list, pause_list},
    {"state_bitmap_up", nullptr, state_bitmap},
}};

void report_signature(int device, int64_t turn) { send(signature_of(device, turn, PRESENT)); }

Router::Router(int devices) {
    setenv("KORA_STORE", in_folder("library.mdb").c_str(), 1);
    unsetenv("KORA_SAVE");  // of the calls alone, whatever the caller's shell says
    __log_to_console = 0;
    require(sarn_init() == SARN_OK, "sarn_init");
    for (int device = 0; device < devices; ++device) report_signature(device, -1);
}

Router::~Router() {
    (void)sarn_uninit();
    for (const char *file : {"library.mdb", "library.mdb-lock", "library.mdb-writer"}) {
        (void)unlink(in_folder(file).c_str());
    }
}

}  // namespace bench
