#include "tests/trials/trial.h"

#include <signal.h>
#include <sys/mman.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>

#include "core/schema.h"
#include "platform/kora.h"

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
    return value;
}

std::string mac_of(int device) {
    char text[18];
    snprintf(text, sizeof text, "02:00:00:00:%02X:%02X", device >> 8 & 0xFF, device & 0xFF);
    return text;
}

signature_record signature_of(int device, const char *state) {
    signature_record record = {};
    const std::string tag = mac_of(device);
    for (char *text : {record.hua, record.dhcp_hostname, record.dhcp_vendor, record.dhcp_options,
                       record.connection_interface, record.category, record.mac}) {
        memcpy(text, tag.c_str(), tag.size());
    }
    snprintf(record.ip, sizeof record.ip, "10.0.0.1");
    snprintf(record.state, sizeof record.state, "%s", state);
    return record;
}

const char *name_of(Call call) {
    static const char *const names[] = {"signature", "offline", "connection", "detail", "field",
                                        "name",      "block",   "remove",     "read"};
    return names[static_cast<int>(call)];
}

namespace {

int report(int device, const char *state) {
    const signature_record record = signature_of(device, state);
    return update_device_signature(&record, 0);
}

int report_connection(const std::string &mac) {
    connected_device_record record = {};
    memcpy(record.mac, mac.c_str(), sizeof record.mac);
    memcpy(record.ssid, mac.c_str(), sizeof record.mac);
    return update_connected_device_info(&record, 0);
}

int report_detail(const std::string &mac) {
    device_detail_record record = {};
    for (char *text : {record.mac, record.mac_vendor, record.model, record.os, record.brand}) {
        memcpy(text, mac.c_str(), sizeof record.mac);
    }
    return update_device_detail(&record, 0);
}

// The texts of a row name one device, or none.
bool is_torn(const device_info &record) {
    const char *const texts[] = {record.DeviceHua,         record.DeviceDHCPHostname, record.DeviceDHCPVendor,
                                 record.DeviceDHCPOptions, record.DeviceModel,        record.DeviceBrand,
                                 record.DeviceHostname,    record.ConnSSID,           record.DeviceUUID};
    for (const char *text : texts) {
        if (strncmp(text, "02:", 3) == 0 && strncmp(text, record.DeviceMAC, 17) != 0) return true;
    }
    return false;
}

constexpr int TORN = 1000;

int read_device(const std::string &mac) {
    device_info record;
    const int result = get_device_info_by_mac(&record, mac.c_str());
    const bool is_wrong = result == SARN_OK && (strcmp(record.DeviceMAC, mac.c_str()) != 0 || is_torn(record));
    return is_wrong ? TORN : result;
}

}  // namespace

int make(Call call, int device) {
    const std::string mac = mac_of(device);
    const char *const list = mac.c_str();
    switch (call) {
        case Call::Signature: return report(device, "UP");
        case Call::Offline: return report(device, "DOWN");
        case Call::Connection: return report_connection(mac);
        case Call::Detail: return report_detail(mac);
        case Call::Field: return sarn_update_table_field(list, SARN_FIELD_UUID, list, 18, 0);
        case Call::Name: return update_device_displayname(list, "a name", 6, 0);
        case Call::Block: return sarn_update_pause_list(&list, 0, 1, 0);
        case Call::Remove: return sarn_remove_macaddress_entry(list);
        default: return read_device(mac);
    }
}

bool is_started() { return sarn_init() == SARN_OK && is_expected(Call::Read, make(Call::Read, 0)); }

bool is_expected(Call call, int result) {
    if (result == SARN_OK) return true;
    switch (call) {
        case Call::Signature:
        case Call::Offline: return result == SARN_ERR_NO_ROW;  // the table is full
        case Call::Connection:
        case Call::Detail:
        case Call::Field: return result == SARN_ERR_NO_ROW;
        case Call::Name: return result == SARN_ERR_UNKNOWN_DEVICE;
        case Call::Block: return result == SARN_ERR_NOTHING_CHANGED;
        case Call::Remove: return result == SARN_ERR_NO_ROW || result == SARN_ERR_DEVICE_UP;
        default: return result == SARN_ERR_UNKNOWN_DEVICE;
    }
}

namespace {

using sarn::Field;

std::string read_value(void *handle, Field field, int32_t row) {
    const sarn::FieldSpec &spec = sarn::spec_of(field);
    const char *table = sarn::table_of(field).name;
    char text[KORA_TEXT_MAX + 1] = {};
    uint8_t bytes[6] = {};
    uint32_t number = 0;
    int32_t result = 0;
    switch (spec.type) {
        case sarn::Type::Ascii:
        case sarn::Type::Enum: result = kora_get_ascii(handle, table, row, spec.name, text, sizeof text); break;
        case sarn::Type::String: result = kora_get_string(handle, table, row, spec.name, text, sizeof text); break;
        case sarn::Type::Bool: result = kora_get_bool(handle, table, row, spec.name, bytes); break;
        case sarn::Type::Mac: result = kora_get_mac(handle, table, row, spec.name, bytes); break;
        case sarn::Type::Ipv4: result = kora_get_ipv4(handle, table, row, spec.name, bytes); break;
        default: result = kora_get_uint(handle, table, row, spec.name, &number); break;
    }
    if (result != 0) return "unreadable";
    switch (spec.type) {
        case sarn::Type::Int:
        case sarn::Type::Uint: return std::to_string(number);
        case sarn::Type::Bool: return std::to_string(bytes[0]);
        case sarn::Type::Mac:
            snprintf(text, sizeof text, "%02X:%02X:%02X:%02X:%02X:%02X", bytes[0], bytes[1], bytes[2], bytes[3],
                     bytes[4], bytes[5]);
            return text;
        case sarn::Type::Ipv4:
            snprintf(text, sizeof text, "%d.%d.%d.%d", bytes[0], bytes[1], bytes[2], bytes[3]);
            return text;
        default: return text;
    }
}

std::string reset_value(Field field) {
    const sarn::FieldSpec &spec = sarn::spec_of(field);
    switch (spec.type) {
        case sarn::Type::Mac: return "00:00:00:00:00:00";
        case sarn::Type::Ipv4: return "0.0.0.0";
        case sarn::Type::Bool:
        case sarn::Type::Int:
        case sarn::Type::Uint: return std::to_string(spec.reset.number);
        default: return spec.reset.text;
    }
}

std::string fault_of_row(void *handle, int32_t row, const std::string &mac) {
    const bool is_free = mac == "00:00:00:00:00:00";
    for (int32_t i = 0; i < sarn::DEVICE_FIELD_COUNT; ++i) {
        const auto field = static_cast<Field>(i);
        const std::string value = read_value(handle, field, row);
        const std::string where = std::string(sarn::table_of(field).name) + "." + sarn::spec_of(field).name +
                                  " of row " + std::to_string(row) + " is \"" + value + "\", the device " + mac;
        if (i < sarn::DEVICE_MAC_FIELD_COUNT && value != mac) return where;
        if (is_free && value != reset_value(field)) return where;
        if (value.starts_with("02:") && value.substr(0, 17) != mac) return where;
    }
    return "";
}

}  // namespace

std::string fault_of_rows(int *devices) {
    void *handle = kora_init_ex(nullptr);
    if (handle == nullptr) return "the store cannot be opened";
    std::map<std::string, int> rows;
    std::string fault;
    for (int32_t row = 0; row < sarn::ROW_COUNT && fault.empty(); ++row) {
        const std::string mac = read_value(handle, Field::Sarnsignature_DeviceMAC, row);
        fault = fault_of_row(handle, row, mac);
        if (mac != "00:00:00:00:00:00" && !rows.emplace(mac, row).second) fault = mac + " has two rows";
    }
    kora_destroy(handle);
    if (devices != nullptr) *devices = static_cast<int>(rows.size());
    return fault;
}

void TrialTest::SetUp() {
    char name[] = "/dev/shm/sarn-trial-XXXXXX";
    ASSERT_NE(mkdtemp(name), nullptr);
    folder = name;
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

int TrialTest::check(const std::string &when) {
    std::atomic<long> &devices = control->calls;
    const int end = run_process([&] {
        int count = 0;
        const std::string fault = fault_of_rows(&count);
        devices = count;
        if (!fault.empty()) fprintf(stderr, "%s\n", fault.c_str());
        return fault.empty() ? 0 : 1;
    });
    EXPECT_EQ(end, 0) << when;
    return static_cast<int>(devices);
}

}  // namespace trial
