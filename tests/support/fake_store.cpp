#include "support/fake_store.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <map>
#include <mutex>
#include <set>
#include <string_view>
#include <tuple>
#include <utility>

#include "core/schema.h"
#include "platform/kora.h"
#include "tests/support/any_value.h"

namespace {

using Name = const char *;
using Hook = std::function<void(const std::string &)>;
using Key = std::tuple<std::string, int, std::string>;
using Place = std::tuple<std::string_view, int, std::string_view>;

// A key compares as the place it names, so that a look-up builds no strings.
struct Order {
    using is_transparent = void;
    bool operator()(const Place &left, const Place &right) const { return left < right; }
};
using Values = std::map<Key, std::string, Order>;

struct Store {
    Values values;
    std::vector<std::string> journal;
    std::set<Key> failing;
    Hook hook;
    int operations = 0;
    int fail_at = 0;
    bool fail_forever = false;
    bool fault_fired = false;
    bool fail_open = false;
    int handles = 0;

    Values before_group;
    int violations = 0;
    uint64_t changes = 0;
    bool offer_changes = true;
};

std::mutex writers;  // held by the writing group; taken before `lock`
std::mutex lock;
Store store;
int handle_target;
enum class Group { None, Reading, Writing };
thread_local Group group = Group::None;

// What a field holds that no one has written.
const std::string &reset_value(std::string_view table, std::string_view field) {
    static const auto values = [] {
        std::map<std::pair<std::string_view, std::string_view>, std::string> all;
        for (const sarn::FieldSpec &spec : sarn::FIELDS) {
            all[{sarn::TABLES[static_cast<int>(spec.table)].name, spec.name}] = reset_text(spec);
        }
        return all;
    }();
    return values.at({table, field});
}

const std::string &value_of(std::string_view table, int row, std::string_view field) {
    const auto found = store.values.find(Place(table, row, field));
    return found != store.values.end() ? found->second : reset_value(table, field);
}

void set_value(Name table, int row, Name field, const std::string &value) {
    const std::string_view name = field;
    const bool is_read_by_builds =
        name == "DeviceMAC" || name == "Devicestate" || name == "SARNSyncTimestamp" || name == "Timestamp";
    const auto held = store.values.find(Place(table, row, field));
    if (is_read_by_builds && (held == store.values.end() || held->second != value)) ++store.changes;
    store.values[{table, row, field}] = value;
}

// Counts an operation and tells whether it is the one that fails.
bool is_hit() {
    const int past = ++store.operations - store.fail_at;
    const bool is_due = store.fail_at != 0 && (past == 0 || (store.fail_forever && past > 0));
    store.fault_fired |= is_due;
    return is_due;
}

Hook current_hook() {
    const std::lock_guard hold(lock);
    return store.hook;
}

// Journals the operation and tells whether it is to fail.
bool begin(const char *operation, Name table, int row, Name field, const std::string *value) {
    const Hook hook = current_hook();
    std::string line;
    if (value != nullptr || hook) line = std::string(operation) + " " + table + " " + std::to_string(row) + " " + field;
    if (value != nullptr) line += " " + *value;
    if (hook) hook(line);
    const std::lock_guard hold(lock);
    if (value != nullptr) store.journal.push_back(line);
    return is_hit() || (!store.failing.empty() && store.failing.count({table, row, field}) != 0);
}

int32_t write(const char *operation, Name table, int row, Name field, const std::string &value) {
    if (begin(operation, table, row, field, &value)) return -1;
    const std::lock_guard hold(lock);
    if (group == Group::Reading) ++store.violations;
    set_value(table, row, field, value);
    return 0;
}

bool read(const char *operation, Name table, int row, Name field, std::string *value) {
    if (begin(operation, table, row, field, nullptr)) return false;
    const std::lock_guard hold(lock);
    *value = value_of(table, row, field);
    return true;
}

int32_t read_text(const char *operation, Name table, int row, Name field, char *buffer, int32_t size) {
    std::string value;
    if (!read(operation, table, row, field, &value)) return -1;
    std::snprintf(buffer, static_cast<size_t>(size), "%s", value.c_str());
    return 0;
}

template <typename Number>
int32_t read_number(const char *operation, Name table, int row, Name field, Number *number) {
    std::string text;
    if (!read(operation, table, row, field, &text)) return -1;
    *number = static_cast<Number>(std::stoll(text));
    return 0;
}

}  // namespace

namespace fake {

void reset() {
    const std::lock_guard hold(lock);
    store = Store();
    group = Group::None;
}

std::string get(const std::string &table, int row, const std::string &field) {
    const std::lock_guard hold(lock);
    return value_of(table, row, field);
}

void set(const std::string &table, int row, const std::string &field, const std::string &value) {
    const std::lock_guard hold(lock);
    set_value(table.c_str(), row, field.c_str(), value);
}

std::vector<std::string> take_journal() {
    const std::lock_guard hold(lock);
    return std::exchange(store.journal, {});
}

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
void fail_field(const std::string &table, int row, const std::string &field, bool fail) {
    if (fail) store.failing.insert({table, row, field});
    if (!fail) store.failing.erase({table, row, field});
}
void fail_open(bool fail) { store.fail_open = fail; }
int open_handles() { return store.handles; }

void on_operation(std::function<void(const std::string &)> hook) {
    const std::lock_guard hold(lock);
    store.hook = std::move(hook);
}

int32_t begin_group(bool is_writing) {
    const Hook hook = current_hook();
    if (hook) hook(is_writing ? "begin writing" : "begin reading");
    std::unique_lock alone(writers, std::defer_lock);
    if (is_writing && group == Group::None) alone.lock();
    const std::lock_guard hold(lock);
    if (is_hit()) return -1;
    if (group != Group::None) ++store.violations;
    group = is_writing ? Group::Writing : Group::Reading;
    if (is_writing) store.before_group = store.values;
    (void)alone.release();  // until the group's end
    return 0;
}

int32_t end_group(bool is_kept) {
    const std::lock_guard hold(lock);
    const Group ended = std::exchange(group, Group::None);
    if (ended == Group::None) ++store.violations;
    const bool is_lost = is_hit();
    if (ended == Group::Writing) {
        if (is_lost || !is_kept) store.values = store.before_group;
        writers.unlock();
    }
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

int32_t kora_get_ascii(void *, Name table, int32_t row, Name field, char *buffer, int32_t size) {
    return read_text("get_ascii", table, row, field, buffer, size);
}
int32_t kora_get_string(void *, Name table, int32_t row, Name field, char *buffer, int32_t size) {
    return read_text("get_string", table, row, field, buffer, size);
}
int32_t kora_get_enum(void *, Name table, int32_t row, Name field, char *buffer, int32_t size) {
    return read_text("get_enum", table, row, field, buffer, size);
}
int32_t kora_set_ascii(void *, Name table, int32_t row, Name field, const char *text) {
    return write("set_ascii", table, row, field, text);
}
int32_t kora_set_string(void *, Name table, int32_t row, Name field, const char *text) {
    return write("set_string", table, row, field, text);
}
int32_t kora_set_enum(void *, Name table, int32_t row, Name field, const char *text) {
    return write("set_enum", table, row, field, text);
}
int32_t kora_get_bool(void *, Name table, int32_t row, Name field, uint8_t *value) {
    return read_number("get_bool", table, row, field, value);
}
int32_t kora_get_uint(void *, Name table, int32_t row, Name field, uint32_t *value) {
    return read_number("get_uint", table, row, field, value);
}
int32_t kora_set_bool(void *, Name table, int32_t row, Name field, int32_t value) {
    return write("set_bool", table, row, field, std::to_string(value));
}
int32_t kora_set_int(void *, Name table, int32_t row, Name field, int32_t value) {
    return write("set_int", table, row, field, std::to_string(value));
}
int32_t kora_set_uint(void *, Name table, int32_t row, Name field, uint32_t value) {
    return write("set_uint", table, row, field, std::to_string(value));
}
int32_t kora_get_mac(void *, Name table, int32_t row, Name field, uint8_t six[6]) {
    std::string text;
    if (!read("get_mac", table, row, field, &text)) return -1;
    if (text != "00:00:00:00:00:00") return kora_string2mac(text.c_str(), six);
    std::memset(six, 0, 6);  // of nearly all rows, so worth not to be parsed
    return 0;
}
int32_t kora_set_mac(void *, Name table, int32_t row, Name field, const uint8_t six[6]) {
    char text[18];
    std::snprintf(text, sizeof text, "%02X:%02X:%02X:%02X:%02X:%02X", six[0], six[1], six[2], six[3], six[4], six[5]);
    return write("set_mac", table, row, field, text);
}
int32_t kora_get_ipv4(void *, Name table, int32_t row, Name field, uint8_t four[4]) {
    std::string text;
    return read("get_ipv4", table, row, field, &text) ? kora_string2ipv4(text.c_str(), four) : -1;
}
int32_t kora_set_ipv4(void *, Name table, int32_t row, Name field, const uint8_t four[4]) {
    char text[16];
    std::snprintf(text, sizeof text, "%d.%d.%d.%d", four[0], four[1], four[2], four[3]);
    return write("set_ipv4", table, row, field, text);
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
    if (group != Group::None) ++store.violations;
    store.journal.push_back("log " + std::to_string(level) + " " + message);
}

}  // extern "C"
