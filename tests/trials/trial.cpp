#include "tests/trials/trial.h"

#include <sys/mman.h>

#include <algorithm>
#include <memory>
#include <new>
#include <random>
#include <set>

#include "core/schema.h"
#include "platform/kora.h"
#include "tests/support/any_value.h"

namespace trial {

Control *control =
    new (mmap(nullptr, sizeof(Control), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)) Control;

int scale() {
    const char *text = getenv("SARN_TRIAL_SCALE");
    return text == nullptr ? 1 : atoi(text);
}

uint32_t seed() {
    const char *text = getenv("SARN_SEED");
    const uint32_t value = text == nullptr ? std::random_device{}() : static_cast<uint32_t>(strtoul(text, nullptr, 10));
    printf("SARN_SEED=%u\n", value);
    fflush(stdout);
    return value;
}

namespace {

int report(int device, const char *state) {
    signature_record record = signature_of(mac_of(device), state);
    for (char *text : {record.hua, record.dhcp_hostname, record.dhcp_vendor, record.dhcp_options,
                       record.connection_interface, record.category}) {
        memcpy(text, record.mac, sizeof record.mac);
    }
    return update_device_signature(&record, 0);
}

int report_connection(int device) {
    connected_device_record record = {};
    set_text(record.mac, mac_of(device));
    set_text(record.ssid, mac_of(device));
    return update_connected_device_info(&record, 0);
}

int report_detail(int device) {
    device_detail_record record = {};
    set_text(record.mac, mac_of(device));
    for (char *text : {record.mac_vendor, record.model, record.os, record.brand}) {
        memcpy(text, record.mac, sizeof record.mac);
    }
    return update_device_detail(&record, 0);
}

// The texts of a report are there together, or none is.
bool is_torn(const device_info &record) {
    const char *const texts[] = {record.DeviceHua,         record.DeviceDHCPHostname,        record.DeviceDHCPVendor,
                                 record.DeviceDHCPOptions, record.DeviceConnectionInterface, record.DeviceCategory,
                                 record.DeviceHostname};
    // A field that could not be read is full of this.
    const auto there = std::ranges::count_if(
        texts, [&](const char *text) { return strcmp(text, record.DeviceMAC) == 0 || strncmp(text, "0000", 4) == 0; });
    return there != 0 && there != std::ssize(texts);
}

// A record that mixes devices is none that a call may give.
int judge(int result, const device_info &record) { return result == SARN_OK && is_torn(record) ? 1000 : result; }

int read_device(int device) {
    device_info record;
    const int result = judge(get_device_info_by_mac(&record, mac_of(device).c_str()), record);
    return result == SARN_OK && mac_of(device) != record.DeviceMAC ? 1000 : result;
}

int read_row(int device) {
    device_info record;
    return judge(get_device_info_at_index(&record, static_cast<uint32_t>(device % 256)), record);
}

int read_address(int device) {
    const std::unique_ptr<char, decltype(&free)> address(check_macaddress_by_index(device % 256), free);
    return address != nullptr ? SARN_OK : SARN_ERR_NO_MEMORY;
}

int ok_if_count(int result) { return std::min(result, int{SARN_OK}); }

int count_rows_up(int) {
    uint32_t words[SARN_BITMAP_WORDS];
    return ok_if_count(sarn_device_state_info(words, SARN_BITMAP_WORDS, SARN_ROWS_UP));
}

int block(int device) {
    const std::string mac = mac_of(device);
    const char *const list = mac.c_str();
    return sarn_update_pause_list(&list, 0, 1, 0);
}

int switch_access(int device) {
    const int written = sarn_set_ACL(device % 2 == 0);
    return written != SARN_OK ? written : ok_if_count(sarn_get_ACL());
}

template <int32_t Code>
int set_field(int device) {
    const std::string mac = mac_of(device), value = Code == SARN_FIELD_STATE ? "UP" : mac;
    return sarn_update_table_field(mac.c_str(), Code, value.c_str(), static_cast<int32_t>(value.size()) + 1, 0);
}

template <auto Update>
int set_display(int device) {
    const std::string mac = mac_of(device);
    return Update(mac.c_str(), mac.c_str(), 17, 0);
}

}  // namespace

const std::vector<Call> CALLS = {
    {"signature", [](int n) { return report(n, "UP"); }, {SARN_ERR_NO_ROW}},  // the table is full
    {"offline", [](int n) { return report(n, "DOWN"); }, {SARN_ERR_NO_ROW}},
    {"connection", report_connection, {SARN_ERR_NO_ROW}},
    {"detail", report_detail, {SARN_ERR_NO_ROW}},
    {"field", set_field<SARN_FIELD_UUID>, {SARN_ERR_NO_ROW}},
    {"state", set_field<SARN_FIELD_STATE>, {SARN_ERR_NO_ROW}},
    {"name", set_display<update_device_displayname>, {SARN_ERR_UNKNOWN_DEVICE}},
    {"type", set_display<update_device_displaytype>, {SARN_ERR_UNKNOWN_DEVICE}},
    {"model", set_display<update_device_displaymodel>, {SARN_ERR_UNKNOWN_DEVICE}},
    {"brand", set_display<update_device_displaybrand>, {SARN_ERR_UNKNOWN_DEVICE}},
    {"block", block, {SARN_ERR_NOTHING_CHANGED}},
    {"remove",
     [](int n) { return sarn_remove_macaddress_entry(mac_of(n).c_str()); },
     {SARN_ERR_NO_ROW, SARN_ERR_DEVICE_UP}},
    {"read", read_device, {SARN_ERR_UNKNOWN_DEVICE, SARN_ERR_ROW_LOST_DEVICE}},
    {"read row", read_row, {SARN_ERR_UNUSED_ROW}},
    {"find", [](int n) { return ok_if_count(check_macaddress_entry(mac_of(n).data())); }, {SARN_ERR_NOT_FOUND}},
    {"address of a row", read_address},
    {"bitmap", count_rows_up},
    {"total", [](int) { return ok_if_count(get_total_sarn_entries_used()); }},
    {"access switch", switch_access},
    {"upgrade", [](int n) { return set_sarn_upgrade_status(n % 2 == 0); }},
    {"refresh", [](int) { return sarn_weekly_refresh_request(); }, {SARN_ERR_INTERNET_DOWN}},
};

const Call &call(std::string_view name) {
    return *std::ranges::find_if(CALLS, [name](const Call &each) { return each.is(name); });
}

bool Call::allows(int result) const { return result == SARN_OK || std::ranges::find(others, result) != others.end(); }

bool start_library() { return sarn_init() == SARN_OK && call("read").allows(read_device(0)); }

namespace {

using sarn::Field;

// Empty for a row without a device.
std::string mac_in(void *handle, Field field, int32_t row) {
    Value value;
    if (read_any(handle, field, row, value) != 0) return "unreadable";
    const bool is_free = value == Value{};
    return is_free ? "" : mac_of(value.bytes[4] << 8 | value.bytes[5]);
}

// What is wrong with a row, or nothing.
std::string fault_of_row(void *handle, int32_t row, const std::string &mac) {
    constexpr int32_t NEVER_WRITTEN = sarn::ROW_COUNT - 1;  // where any row is free
    std::set<bool> are_reported;
    for (int32_t i = 0; i < sarn::DEVICE_FIELD_COUNT; ++i) {
        const auto field = static_cast<Field>(i);
        const std::string name = std::string(sarn::table_of(field).name) + "." + sarn::spec_of(field).name;
        Value value, blank;
        if (read_any(handle, field, row, value) + read_any(handle, field, NEVER_WRITTEN, blank) != 0) return name;
        const std::string text = value.text;
        if (i < sarn::DEVICE_MAC_FIELD_COUNT && mac_in(handle, field, row) != mac) return name;
        if (text.starts_with("02:") && !text.starts_with(mac)) return name + " is of " + text;
        if (mac.empty() && value != blank) return name + " is not reset";
        if (name.starts_with("Sarnsignature.") && sarn::spec_of(field).type == sarn::Type::Ascii)
            are_reported.insert(text == mac);
    }
    return are_reported.size() == 1 ? "" : "half a report";
}

// Prints what is wrong with the rows as the store has them, read past the library. 0 when nothing is.
int look_at_rows() {
    void *handle = kora_init_ex(nullptr);
    if (kora_begin(handle, KORA_READING) != 0) return 1;
    std::set<std::string> macs;
    for (int32_t row = 0; row < sarn::ROW_COUNT; ++row) {
        const std::string mac = mac_in(handle, Field::Sarnsignature_DeviceMAC, row);
        std::string fault = fault_of_row(handle, row, mac);
        if (!mac.empty() && !macs.insert(mac).second && !control->allows_doubles) fault = "a second row";
        if (!fault.empty()) return fprintf(stderr, "row %d, device %s: %s\n", row, mac.c_str(), fault.c_str()), 1;
    }
    control->devices = static_cast<int>(macs.size());
    return kora_end(handle, 0) + kora_destroy(handle);
}

}  // namespace

TrialTest::TrialTest() {
    control = new (control) Control;
    setenv("KORA_SAVE", "", 1);
    __log_to_console = 0;
}

void TrialTest::prepare(int count, const char *state) {
    const std::string copy = folder + "/" + std::to_string(count) + state;
    for (const auto &file : std::filesystem::directory_iterator(folder)) {
        if (file.path() != copy) std::filesystem::remove_all(file);
    }
    if (std::filesystem::exists(copy)) {
        std::filesystem::copy_file(copy, path);
        return;
    }
    ASSERT_EQ(run_process([&] {
                  int failed = sarn_init() != SARN_OK;
                  for (int i = 0; i < count; ++i) failed += report(i, state) != SARN_OK;
                  return failed + (sarn_uninit() != SARN_OK);
              }),
              0);
    std::filesystem::copy_file(path, copy);
}

int TrialTest::check(const std::string &when) {
    EXPECT_EQ(run_process(look_at_rows), 0) << when;
    return control->devices;
}

}  // namespace trial
