#include "tests/trials/trial.h"

#include <signal.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <vector>

#include "core/schema.h"
#include "platform/kora.h"
#include "tests/support/any_value.h"
#include "tests/support/store_folder.h"

namespace trial {

constexpr size_t MAC_LENGTH = 17;

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

signature_record signature_of(int device, const char *state) {
    const std::string tag = mac_of(device);
    signature_record record = ::signature_of(tag, state);
    for (char *text : {record.hua, record.dhcp_hostname, record.dhcp_vendor, record.dhcp_options,
                       record.connection_interface, record.category}) {
        memcpy(text, tag.c_str(), tag.size());
    }
    return record;
}

namespace {

int report(int device, const char *state) {
    const signature_record record = signature_of(device, state);
    return update_device_signature(&record, 0);
}

int report_connection(int device) {
    const std::string mac = mac_of(device);
    connected_device_record record = {};
    memcpy(record.mac, mac.c_str(), sizeof record.mac);
    memcpy(record.ssid, mac.c_str(), sizeof record.mac);
    return update_connected_device_info(&record, 0);
}

int report_detail(int device) {
    const std::string mac = mac_of(device);
    device_detail_record record = {};
    for (char *text : {record.mac, record.mac_vendor, record.model, record.os, record.brand}) {
        memcpy(text, mac.c_str(), sizeof record.mac);
    }
    return update_device_detail(&record, 0);
}

// The texts of a row name one device, or none; and those of a report are there together.
bool is_torn(const device_info &record) {
    const char *const reported[] = {record.DeviceHua,         record.DeviceDHCPHostname,        record.DeviceDHCPVendor,
                                    record.DeviceDHCPOptions, record.DeviceConnectionInterface, record.DeviceCategory,
                                    record.DeviceHostname};
    const char *const others[] = {record.DeviceModel, record.DeviceBrand, record.ConnSSID, record.DeviceUUID};
    // A field that could not be read is full of this.
    const auto is_right = [&](const char *text) {
        return strncmp(text, record.DeviceMAC, MAC_LENGTH) == 0 || strncmp(text, "0000", 4) == 0;
    };
    size_t there = 0;
    for (const char *text : reported) there += is_right(text);
    for (const char *text : others) {
        if (text[0] != '\0' && !is_right(text)) return true;
    }
    return there != 0 && there != std::size(reported);
}

constexpr int TORN = 1000;

int read_device(int device) {
    const std::string mac = mac_of(device);
    device_info record;
    const int result = get_device_info_by_mac(&record, mac.c_str());
    const bool is_wrong = result == SARN_OK && (strcmp(record.DeviceMAC, mac.c_str()) != 0 || is_torn(record));
    return is_wrong ? TORN : result;
}

int read_row(int device) {
    device_info record;
    const int result = get_device_info_at_index(&record, static_cast<uint32_t>(device % 256));
    return result == SARN_OK && is_torn(record) ? TORN : result;
}

int read_address(int device) {
    char *address = check_macaddress_by_index(device % 256);
    const bool is_there = address != nullptr;
    free(address);
    return is_there ? SARN_OK : SARN_ERR_NO_MEMORY;
}

int ok_if_count(int result) { return result >= 0 ? SARN_OK : result; }

int find(int device) { return ok_if_count(check_macaddress_entry(mac_of(device).data())); }

int count_rows_up(int) {
    uint32_t words[SARN_BITMAP_WORDS];
    return ok_if_count(sarn_device_state_info(words, SARN_BITMAP_WORDS, SARN_ROWS_UP));
}

int block(int device) {
    const std::string mac = mac_of(device);
    const char *const list = mac.c_str();
    return sarn_update_pause_list(&list, 0, 1, 0);
}

int remove(int device) { return sarn_remove_macaddress_entry(mac_of(device).c_str()); }

int set_uuid(int device) {
    const std::string mac = mac_of(device);
    return sarn_update_table_field(mac.c_str(), SARN_FIELD_UUID, mac.c_str(), 18, 0);
}

int set_state(int device) {
    return sarn_update_table_field(mac_of(device).c_str(), SARN_FIELD_STATE, "UP", sizeof "UP", 0);
}

template <auto Update>
int set_text(int device) {
    const std::string mac = mac_of(device);
    return Update(mac.c_str(), mac.c_str(), 17, 0);
}

int switch_access(int device) {
    const int written = sarn_set_ACL(device % 2 == 0);
    return written != SARN_OK ? written : ok_if_count(sarn_get_ACL());
}

struct CallSpec {
    const char *name;
    int (*make)(int device);
    std::vector<int> others;  // results besides 0 while other processes write
};

const CallSpec CALLS[] = {
    {"signature", [](int n) { return report(n, "UP"); }, {SARN_ERR_NO_ROW}},  // the table is full
    {"offline", [](int n) { return report(n, "DOWN"); }, {SARN_ERR_NO_ROW}},
    {"connection", report_connection, {SARN_ERR_NO_ROW}},
    {"detail", report_detail, {SARN_ERR_NO_ROW}},
    {"field", set_uuid, {SARN_ERR_NO_ROW}},
    {"state", set_state, {SARN_ERR_NO_ROW}},
    {"name", set_text<update_device_displayname>, {SARN_ERR_UNKNOWN_DEVICE}},
    {"type", set_text<update_device_displaytype>, {SARN_ERR_UNKNOWN_DEVICE}},
    {"model", set_text<update_device_displaymodel>, {SARN_ERR_UNKNOWN_DEVICE}},
    {"brand", set_text<update_device_displaybrand>, {SARN_ERR_UNKNOWN_DEVICE}},
    {"block", block, {SARN_ERR_NOTHING_CHANGED}},
    {"remove", remove, {SARN_ERR_NO_ROW, SARN_ERR_DEVICE_UP}},
    {"read", read_device, {SARN_ERR_UNKNOWN_DEVICE, SARN_ERR_ROW_LOST_DEVICE}},
    {"read row", read_row, {SARN_ERR_UNUSED_ROW}},
    {"find", find, {SARN_ERR_NOT_FOUND}},
    {"address of a row", read_address, {}},
    {"bitmap", count_rows_up, {}},
    {"total", [](int) { return ok_if_count(get_total_sarn_entries_used()); }, {}},
    {"access switch", switch_access, {}},
    {"upgrade", [](int n) { return set_sarn_upgrade_status(n % 2 == 0); }, {}},
    {"refresh", [](int) { return sarn_weekly_refresh_request(); }, {SARN_ERR_INTERNET_DOWN}},
};
static_assert(sizeof CALLS / sizeof CALLS[0] == static_cast<size_t>(Call::Count));

const CallSpec &spec_of(Call call) { return CALLS[static_cast<size_t>(call)]; }

}  // namespace

const char *name_of(Call call) { return spec_of(call).name; }

int make(Call call, int device) { return spec_of(call).make(device); }

bool is_started() { return sarn_init() == SARN_OK && is_expected(Call::Read, make(Call::Read, 0)); }

bool is_expected(Call call, int result) {
    const std::vector<int> &others = spec_of(call).others;
    return result == SARN_OK || std::find(others.begin(), others.end(), result) != others.end();
}

namespace {

using sarn::Field;

std::string read_value(void *handle, Field field, int32_t row) {
    Value value;
    if (read_any(handle, field, row, value) != 0) return "unreadable";
    const uint8_t *b = value.bytes;
    switch (sarn::spec_of(field).type) {
        case sarn::Type::Int:
        case sarn::Type::Uint: return std::to_string(value.number);
        case sarn::Type::Bool: return std::to_string(value.flag);
        case sarn::Type::Mac:
            snprintf(value.text, sizeof value.text, "%02X:%02X:%02X:%02X:%02X:%02X", b[0], b[1], b[2], b[3], b[4],
                     b[5]);
            break;
        case sarn::Type::Ipv4: snprintf(value.text, sizeof value.text, "%d.%d.%d.%d", b[0], b[1], b[2], b[3]); break;
        default: break;
    }
    return value.text;
}

constexpr Field REPORTED[] = {Field::Sarnsignature_DeviceHua,
                              Field::Sarnsignature_DeviceDHCPOptions,
                              Field::Sarnsignature_DeviceDHCPHostname,
                              Field::Sarnsignature_DeviceDHCPVendor,
                              Field::Sarnsignature_DeviceConnectionInterface,
                              Field::Sarnsignature_DeviceCategory,
                              Field::DeviceIdList_DeviceHostname};

std::string fault_of_row(void *handle, int32_t row, const std::string &mac) {
    const bool is_free = mac == "00:00:00:00:00:00";
    size_t reported = 0;
    for (const Field field : REPORTED) reported += read_value(handle, field, row) == mac;
    if (reported != 0 && reported != std::size(REPORTED)) return "half a report in the row of " + mac;
    for (int32_t i = 0; i < sarn::DEVICE_FIELD_COUNT; ++i) {
        const auto field = static_cast<Field>(i);
        const std::string value = read_value(handle, field, row);
        const std::string where = std::string(sarn::table_of(field).name) + "." + sarn::spec_of(field).name +
                                  " of row " + std::to_string(row) + " is \"" + value + "\", the device " + mac;
        if (i < sarn::DEVICE_MAC_FIELD_COUNT && value != mac) return where;
        if (is_free && value != reset_text(sarn::spec_of(field))) return where;
        if (value.starts_with("02:") && value.substr(0, MAC_LENGTH) != mac) return where;
    }
    return "";
}

}  // namespace

std::string fault_of_rows(int *devices, bool allows_doubles) {
    void *handle = kora_init_ex(nullptr);
    if (handle == nullptr) return "the store cannot be opened";
    std::map<std::string, int> rows;
    std::string fault;
    for (int32_t row = 0; row < sarn::ROW_COUNT && fault.empty(); ++row) {
        const std::string mac = read_value(handle, Field::Sarnsignature_DeviceMAC, row);
        fault = fault_of_row(handle, row, mac);
        const bool is_double = mac != "00:00:00:00:00:00" && !rows.emplace(mac, row).second;
        if (is_double && !allows_doubles) fault = mac + " has two rows";
    }
    kora_destroy(handle);
    if (devices != nullptr) *devices = static_cast<int>(rows.size());
    return fault;
}

void TrialTest::SetUp() {
    folder = make_store_folder();
    path = folder + "/store.mdb";
    setenv("KORA_STORE", path.c_str(), 1);
    setenv("KORA_SAVE", "", 1);
    __log_to_console = 0;
}

void TrialTest::TearDown() { std::filesystem::remove_all(folder); }

void TrialTest::empty_store() {
    for (const auto &file : std::filesystem::directory_iterator(folder)) std::filesystem::remove_all(file);
}

void TrialTest::fill(int count, const char *state) {
    ASSERT_EQ(run_process([&] {
                  int failed = sarn_init() != SARN_OK;
                  for (int i = 0; i < count; ++i) failed += report(i, state) != SARN_OK;
                  return failed + (sarn_uninit() != SARN_OK);
              }),
              0);
}

int TrialTest::check(const std::string &when, bool allows_doubles) {
    std::atomic<long> &devices = control->calls;
    const int end = run_process([&] {
        int count = 0;
        const std::string fault = fault_of_rows(&count, allows_doubles);
        devices = count;
        if (!fault.empty()) fprintf(stderr, "%s\n", fault.c_str());
        return fault.empty() ? 0 : 1;
    });
    EXPECT_EQ(end, 0) << when;
    return static_cast<int>(devices);
}

}  // namespace trial
