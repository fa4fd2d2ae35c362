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

// A race ends the process that met it, though it would be killed before it told.
extern "C" const char *__tsan_default_options() { return "halt_on_error=1"; }

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

int read_device(Mac mac, int) {
    device_info record;
    const int result = judge(get_device_info_by_mac(&record, mac), record);
    return result == SARN_OK && strcmp(record.DeviceMAC, mac) != 0 ? 1000 : result;
}

// The last byte of a MAC, for what takes a number.
int row_of(Mac mac) { return static_cast<int>(strtol(mac + strlen("00:00:00:00:00:"), nullptr, 16)); }

int read_row(Mac mac, int) {
    device_info record;
    return judge(get_device_info_at_index(&record, static_cast<uint32_t>(row_of(mac))), record);
}

int read_address(Mac mac, int) {
    const std::unique_ptr<char, decltype(&free)> address(check_macaddress_by_index(row_of(mac)), free);
    return address != nullptr ? SARN_OK : SARN_ERR_NO_MEMORY;
}

int ok_if_count(int result) { return std::min(result, int{SARN_OK}); }

int count_rows_up(Mac, int) {
    uint32_t words[SARN_BITMAP_WORDS];
    return ok_if_count(sarn_device_state_info(words, SARN_BITMAP_WORDS, SARN_ROWS_UP));
}

int switch_access(Mac mac, int) {
    const int written = sarn_set_ACL(row_of(mac) % 2 == 0);
    return written != SARN_OK ? written : ok_if_count(sarn_get_ACL());
}

}  // namespace

const std::vector<Call> CALLS = [] {
    std::vector<Call> calls = {
        {{"offline", [](Mac mac, int id) { return report_texts(mac, id, "DOWN"); }, NO_ROW}},
        {{"read row", read_row, SARN_ERR_UNUSED_ROW}},
        {{"find", [](Mac mac, int) { return ok_if_count(check_macaddress_entry(std::string(mac).data())); },
          SARN_ERR_NOT_FOUND}},
        {{"address of a row", read_address}},
        {{"bitmap", count_rows_up}},
        {{"total", [](Mac, int) { return ok_if_count(get_total_sarn_entries_used()); }}},
        {{"access switch", switch_access}},
        {{"upgrade", [](Mac mac, int) { return set_sarn_upgrade_status(row_of(mac) % 2 == 0); }}},
        {{"refresh", [](Mac, int) { return sarn_weekly_refresh_request(); }, SARN_ERR_INTERNET_DOWN}},
    };
    for (const Operation &each : OPERATIONS) calls.push_back({each});
    std::ranges::find_if(calls, [](const Call &each) { return each.is("read"); })->call = read_device;
    return calls;
}();

const Call &call(std::string_view name) {
    return *std::ranges::find_if(CALLS, [name](const Call &each) { return each.is(name); });
}

bool start_library() { return sarn_init() == SARN_OK && call("read").allows(call("read").make(0)); }

namespace {

using sarn::Field;

// Empty for a row without a device.
std::string mac_in(void *handle, Field field, int32_t row) {
    Value value;
    if (read_any(handle, field, row, value) != 0) return "unreadable";
    const bool is_free = value == Value{};
    return is_free ? "" : mac_of(value.bytes[4] << 8 | value.bytes[5]);
}

// A report writes these of a table together, beside what has a text anyway or is another call's.
bool is_reported(std::string_view table, std::string_view field, sarn::Type type) {
    static const std::set<std::string_view> FINDINGS = {"DeviceMacVendor", "DeviceModel", "DeviceBrand", "DeviceOS"};
    return table == "DeviceIdList" ? FINDINGS.contains(field) : type == sarn::Type::Ascii;
}

// What is wrong with a row, or nothing.
std::string fault_of_row(void *handle, int32_t row, const std::string &mac) {
    constexpr int32_t NEVER_WRITTEN = sarn::ROW_COUNT - 1;  // where any row is free
    constexpr size_t DEVICE_TABLES = 3;
    std::set<std::pair<std::string_view, bool>> reported;
    for (int32_t i = 0; i < sarn::DEVICE_FIELD_COUNT; ++i) {
        const auto field = static_cast<Field>(i);
        const std::string_view table = sarn::table_of(field).name;
        const std::string name = std::string(table) + "." + sarn::spec_of(field).name;
        Value value, blank;
        if (read_any(handle, field, row, value) + read_any(handle, field, NEVER_WRITTEN, blank) != 0) return name;
        const std::string text = value.text;
        if (i < sarn::DEVICE_MAC_FIELD_COUNT && mac_in(handle, field, row) != mac) return name;
        if (text.starts_with("02:") && !text.starts_with(mac)) return name + " is of " + text;
        if (mac.empty() && value != blank) return name + " is not reset";
        if (is_reported(table, sarn::spec_of(field).name, sarn::spec_of(field).type))
            reported.insert({table, value != blank});
    }
    // Each table is reported or is not, whole.
    return reported.size() == DEVICE_TABLES ? "" : "half a report";
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
                  for (int i = 0; i < count; ++i) failed += report_texts(mac_of(i).c_str(), 0, state) != SARN_OK;
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
