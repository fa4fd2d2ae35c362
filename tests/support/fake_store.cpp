#include "support/fake_store.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <map>
#include <mutex>
#include <set>
#include <string_view>
#include <thread>
#include <tuple>
#include <utility>

#include "core/schema.h"
#include "platform/kora.h"

namespace {

using Key = std::tuple<std::string, int, std::string>;

struct Store {
    std::map<Key, std::string, std::less<>> values;
    std::vector<std::string> journal;
    std::set<Key> failing;
    std::function<void(const std::string &)> hook;
    int operations = 0;
    int fail_at = 0;
    bool fail_forever = false;
    bool fault_fired = false;
    bool fail_open = false;
    bool keep_reads = false;
    int handles = 0;

    std::map<std::thread::id, bool> groups;  // by the thread that has one; true when it writes
    std::map<Key, std::string, std::less<>> before_group;
    int violations = 0;
    uint64_t changes = 0;
    bool offer_changes = true;
};

std::mutex lock;
Store store;
int handle_target;

std::string mac_text(const uint8_t *six) {
    char text[18];
    std::snprintf(text, sizeof text, "%02X:%02X:%02X:%02X:%02X:%02X", six[0], six[1], six[2], six[3], six[4], six[5]);
    return text;
}

std::string ip_text(const uint8_t *four) {
    char text[16];
    std::snprintf(text, sizeof text, "%d.%d.%d.%d", four[0], four[1], four[2], four[3]);
    return text;
}

std::string reset_value(std::string_view table, std::string_view field) {
    for (const sarn::FieldSpec &spec : sarn::FIELDS) {
        if (field != spec.name || table != sarn::TABLES[static_cast<int>(spec.table)].name) continue;
        switch (spec.type) {
            case sarn::Type::Mac: return "00:00:00:00:00:00";
            case sarn::Type::Ipv4: return "0.0.0.0";
            case sarn::Type::Bool:
            case sarn::Type::Int:
            case sarn::Type::Uint: return std::to_string(spec.reset.number);
            default: return spec.reset.text;
        }
    }
    return "no such field";
}

// Most reads are of rows that no one has written, 256 a build: the library's names are literals, so their address will
// do.
const std::string &reset_value_of(const char *table, const char *field) {
    static std::map<std::pair<const void *, const void *>, std::string> known;
    const auto found = known.find({table, field});
    if (found != known.end()) return found->second;
    return known[{table, field}] = reset_value(table, field);
}

std::string value_of(const char *table, int row, const char *field) {
    const auto found = store.values.find(std::tuple<std::string_view, int, std::string_view>(table, row, field));
    return found != store.values.end() ? found->second : reset_value_of(table, field);
}

// Whether the fault is due at this operation.
bool is_hit() {
    const bool hit = store.fail_at != 0 &&
                     (store.operations == store.fail_at || (store.fail_forever && store.operations > store.fail_at));
    store.fault_fired = store.fault_fired || hit;
    return hit;
}

bool is_in_group(bool is_writing) {
    const auto group = store.groups.find(std::this_thread::get_id());
    return group != store.groups.end() && group->second == is_writing;
}

// Journals the operation and tells whether it is to fail.
bool begin(const char *operation, const char *table, int row, const char *field, const std::string *value) {
    const bool is_kept = value != nullptr || store.keep_reads;
    std::function<void(const std::string &)> hook;
    {
        const std::lock_guard hold(lock);
        hook = store.hook;
    }
    std::string line;
    if (is_kept || hook) {
        line = std::string(operation) + " " + table + " " + std::to_string(row) + " " + field;
        if (value != nullptr) line += " " + *value;
    }
    if (hook) hook(line);
    const std::lock_guard hold(lock);
    ++store.operations;
    if (is_kept) store.journal.push_back(line);
    return is_hit() || (!store.failing.empty() && store.failing.count({table, row, field}) != 0);
}

void note_change(std::string_view table, int row, std::string_view field, const std::string &value) {
    const bool is_read_by_builds =
        field == "DeviceMAC" || field == "Devicestate" || field == "SARNSyncTimestamp" || field == "Timestamp";
    const auto held = store.values.find(std::tuple(table, row, field));
    if (is_read_by_builds && (held == store.values.end() || held->second != value)) ++store.changes;
}

int32_t write(const char *operation, const char *table, int row, const char *field, const std::string &value) {
    if (begin(operation, table, row, field, &value)) return -1;
    const std::lock_guard hold(lock);
    if (is_in_group(false)) ++store.violations;
    note_change(table, row, field, value);
    store.values[{table, row, field}] = value;
    return 0;
}

bool read(const char *operation, const char *table, int row, const char *field, std::string *value) {
    if (begin(operation, table, row, field, nullptr)) return false;
    const std::lock_guard hold(lock);
    *value = value_of(table, row, field);
    return true;
}

int32_t read_text(const char *operation, const char *table, int row, const char *field, char *buffer, int32_t size) {
    std::string value;
    if (!read(operation, table, row, field, &value)) return -1;
    std::snprintf(buffer, static_cast<size_t>(size), "%s", value.c_str());
    return 0;
}

}  // namespace

namespace fake {

void reset() {
    const std::lock_guard hold(lock);
    store = Store();
}

std::string get(const std::string &table, int row, const std::string &field) {
    const std::lock_guard hold(lock);
    const auto found = store.values.find({table, row, field});
    return found != store.values.end() ? found->second : reset_value(table, field);
}

void set(const std::string &table, int row, const std::string &field, const std::string &value) {
    const std::lock_guard hold(lock);
    note_change(table, row, field, value);
    store.values[{table, row, field}] = value;
}

std::vector<std::string> take_journal() {
    const std::lock_guard hold(lock);
    return std::exchange(store.journal, {});
}

void keep_reads(bool keep) { store.keep_reads = keep; }

int operations() {
    const std::lock_guard hold(lock);
    return store.operations;
}

void fail_at(int operation, bool forever) {
    const std::lock_guard hold(lock);
    store.operations = 0;
    store.fail_at = operation;
    store.fail_forever = forever;
    store.fault_fired = false;
}

bool has_fault_fired() { return store.fault_fired; }
void fail_field(const std::string &table, int row, const std::string &field) {
    store.failing.insert({table, row, field});
}
void fail_open(bool fail) { store.fail_open = fail; }
int open_handles() { return store.handles; }

void on_operation(std::function<void(const std::string &)> hook) {
    const std::lock_guard hold(lock);
    store.hook = std::move(hook);
}

int32_t begin_group(bool is_writing) {
    std::function<void(const std::string &)> hook;
    {
        const std::lock_guard hold(lock);
        hook = store.hook;
    }
    if (hook) hook(is_writing ? "begin writing" : "begin reading");
    const std::lock_guard hold(lock);
    ++store.operations;
    if (is_hit()) return -1;
    if (is_in_group(true) || is_in_group(false)) ++store.violations;
    store.groups[std::this_thread::get_id()] = is_writing;
    if (is_writing) store.before_group = store.values;
    return 0;
}

int32_t end_group(bool is_kept) {
    const std::lock_guard hold(lock);
    ++store.operations;
    const bool is_writing = is_in_group(true);
    if (store.groups.erase(std::this_thread::get_id()) == 0) ++store.violations;
    const bool is_lost = is_hit();
    if (is_writing && (is_lost || !is_kept)) store.values = store.before_group;
    return is_lost ? -1 : 0;
}

int32_t change_number(uint64_t *number) {
    const std::lock_guard hold(lock);
    *number = store.changes;
    return store.offer_changes ? 0 : -1;
}

void offer_changes(bool offer) { store.offer_changes = offer; }

int group_violations() { return store.violations; }

}  // namespace fake

extern "C" {

void *kora_init_ex(void *) {
    const std::lock_guard hold(lock);
    if (store.fail_open) return nullptr;
    ++store.handles;
    return &handle_target;
}

int32_t kora_destroy(void *) {
    const std::lock_guard hold(lock);
    --store.handles;
    return 0;
}

int32_t kora_get_ascii(void *, const char *table, int32_t row, const char *field, char *buffer, int32_t size) {
    return read_text("get_ascii", table, row, field, buffer, size);
}
int32_t kora_get_string(void *, const char *table, int32_t row, const char *field, char *buffer, int32_t size) {
    return read_text("get_string", table, row, field, buffer, size);
}
int32_t kora_get_enum(void *, const char *table, int32_t row, const char *field, char *buffer, int32_t size) {
    return read_text("get_enum", table, row, field, buffer, size);
}
int32_t kora_set_ascii(void *, const char *table, int32_t row, const char *field, const char *text) {
    return write("set_ascii", table, row, field, text);
}
int32_t kora_set_string(void *, const char *table, int32_t row, const char *field, const char *text) {
    return write("set_string", table, row, field, text);
}
int32_t kora_set_enum(void *, const char *table, int32_t row, const char *field, const char *text) {
    return write("set_enum", table, row, field, text);
}

int32_t kora_get_bool(void *, const char *table, int32_t row, const char *field, uint8_t *value) {
    std::string text;
    if (!read("get_bool", table, row, field, &text)) return -1;
    *value = text == "0" ? 0 : 1;
    return 0;
}
int32_t kora_get_uint(void *, const char *table, int32_t row, const char *field, uint32_t *value) {
    std::string text;
    if (!read("get_uint", table, row, field, &text)) return -1;
    *value = static_cast<uint32_t>(std::stoll(text));
    return 0;
}
int32_t kora_set_bool(void *, const char *table, int32_t row, const char *field, int32_t value) {
    return write("set_bool", table, row, field, std::to_string(value));
}
int32_t kora_set_int(void *, const char *table, int32_t row, const char *field, int32_t value) {
    return write("set_int", table, row, field, std::to_string(value));
}
int32_t kora_set_uint(void *, const char *table, int32_t row, const char *field, uint32_t value) {
    return write("set_uint", table, row, field, std::to_string(value));
}

int32_t kora_get_mac(void *, const char *table, int32_t row, const char *field, uint8_t six[6]) {
    std::string text;
    if (!read("get_mac", table, row, field, &text)) return -1;
    if (text != "00:00:00:00:00:00") return kora_string2mac(text.c_str(), six);
    std::memset(six, 0, 6);
    return 0;
}
int32_t kora_set_mac(void *, const char *table, int32_t row, const char *field, const uint8_t six[6]) {
    return write("set_mac", table, row, field, mac_text(six));
}
int32_t kora_get_ipv4(void *, const char *table, int32_t row, const char *field, uint8_t four[4]) {
    std::string text;
    return read("get_ipv4", table, row, field, &text) ? kora_string2ipv4(text.c_str(), four) : -1;
}
int32_t kora_set_ipv4(void *, const char *table, int32_t row, const char *field, const uint8_t four[4]) {
    return write("set_ipv4", table, row, field, ip_text(four));
}

int32_t kora_string2mac(const char *text, uint8_t six[6]) {
    char rest = 0;
    return std::sscanf(text, "%2hhx:%2hhx:%2hhx:%2hhx:%2hhx:%2hhx%c", &six[0], &six[1], &six[2], &six[3], &six[4],
                       &six[5], &rest) == 6
               ? 0
               : -1;
}
int32_t kora_string2ipv4(const char *text, uint8_t four[4]) {
    char rest = 0;
    return std::sscanf(text, "%hhu.%hhu.%hhu.%hhu%c", &four[0], &four[1], &four[2], &four[3], &rest) == 4 ? 0 : -1;
}

void log_printf(int32_t level, const char *, int32_t, const char *format, ...) {
    char message[1024];
    va_list values;
    va_start(values, format);
    std::vsnprintf(message, sizeof message, format, values);
    va_end(values);
    const std::lock_guard hold(lock);
    if (is_in_group(true) || is_in_group(false)) ++store.violations;
    store.journal.push_back("log " + std::to_string(level) + " " + message);
}

}  // extern "C"
