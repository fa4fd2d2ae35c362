#include "bench/library_calls.h"

#include <unistd.h>

#include <cstring>

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

// A state that is neither up, which a removal refuses, nor offline, which a crowded table is cleaned of.
constexpr const char *PRESENT = "UP";
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

void report(int device, int64_t turn, const char *state) {
    const signature_record record = signature_of(device, turn, state);
    require(update_device_signature(&record, 0) == SARN_OK, "a signature");
}

void remove(int device) { require(sarn_remove_macaddress_entry(mac_of(device).text) == SARN_OK, "a removal"); }

void report_last(int devices) { report(devices - 1, -1, REMOVABLE); }
void remove_last(int devices) {
    report_last(devices);
    remove(devices - 1);
}

void record_by_row(int, int64_t) {
    device_info record;
    require(get_device_info_at_index(&record, ROW) == SARN_OK, "a record by row");
}

void record_by_mac(int, int64_t) {
    device_info record;
    static const MacText mac = mac_of(ROW);
    require(get_device_info_by_mac(&record, mac.text) == SARN_OK, "a record by MAC");
}

void signature_nothing_new(int, int64_t) {
    static const signature_record record = signature_of(ROW, -1, PRESENT);
    require(update_device_signature(&record, 0) == SARN_OK, "a signature");
}

void signature_all_new(int, int64_t turn) { report_signature(ROW, turn); }

void signature_new_device(int devices, int64_t) { report_last(devices); }

void one_field(int, int64_t turn) {
    char value[16];
    const int length = std::snprintf(value, sizeof value, "-%d", static_cast<int>(turn % 1'000'000));
    require(sarn_update_table_field(mac_of(ROW).text, SARN_FIELD_SIGNAL_STRENGTH, value, length, 0) == SARN_OK,
            "one field");
}

void removal(int devices, int64_t) { remove(devices - 1); }

void detail_update(int, int64_t turn) {
    device_detail_record record = {};
    copy_text(record.mac, mac_of(ROW).text);
    copy_text(record.mac_vendor, "maker-" + std::to_string(turn % 1'000'000));
    copy_text(record.model, "model-" + std::to_string(turn % 1'000'000));
    copy_text(record.os, "os-" + std::to_string(turn % 1'000'000));
    copy_text(record.brand, "brand-" + std::to_string(turn % 1'000'000));
    copy_text(record.type, turn % 2 == 0 ? "SMART_PLUG" : "LAPTOP");
    require(update_device_detail(&record, 0) == SARN_OK, "a detail update");
}

void pause_list(int, int64_t turn) {
    MacText texts[PAUSED];
    const char *macs[PAUSED];
    for (int i = 0; i < PAUSED; ++i) macs[i] = (texts[i] = mac_of(i)).text;
    require(sarn_update_pause_list(macs, turn % 2 == 0 ? 0 : 1, PAUSED, 0) == SARN_OK, "a pause list");
}

void state_bitmap(int, int64_t) {
    uint32_t words[SARN_BITMAP_WORDS];
    require(sarn_device_state_info(words, SARN_BITMAP_WORDS, SARN_ROWS_UP) > 0, "a state bitmap");
}

}  // namespace

const LibraryCall LIBRARY_CALLS[] = {
    {"record_by_row", nullptr, record_by_row},
    {"record_by_mac", nullptr, record_by_mac},
    {"signature_nothing_new", nullptr, signature_nothing_new},
    {"signature_all_new", nullptr, signature_all_new},
    {"signature_new_device", remove_last, signature_new_device},
    {"one_field_new_value", nullptr, one_field},
    {"removal", report_last, removal},
    {"detail_update", nullptr, detail_update},
    {"pause_list_of_10", nullptr, pause_list},
    {"state_bitmap_up", nullptr, state_bitmap},
};
const int LIBRARY_CALL_COUNT = sizeof LIBRARY_CALLS / sizeof LIBRARY_CALLS[0];

void report_signature(int device, int64_t turn) { report(device, turn, PRESENT); }

const LibraryCall *find_library_call(const char *name) {
    for (const LibraryCall &call : LIBRARY_CALLS) {
        if (std::strcmp(call.name, name) == 0) return &call;
    }
    return nullptr;
}

Router::Router(int devices) : devices_(devices) {
    setenv("KORA_STORE", in_folder("library.mdb").c_str(), 1);
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
