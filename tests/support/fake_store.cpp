#include "support/fake_store.h"

#include <pthread.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <map>
#include <mutex>
#include <set>
#include <string_view>
#include <utility>

#include "core/schema.h"
#include "platform/kora.h"
#include "tests/support/any_value.h"

fake::Controls fake::controls;

namespace {

using fake::controls;
using Name = const char *;
using Lines = std::vector<std::string>;
using Hook = std::function<void(const std::string &)>;

struct Store {
    std::map<int, std::string> values, before_group;  // by place; what no one has written is not there
    Lines writes, log;
    std::set<int> failing;
    Hook hook;
    uint64_t changes = 0;
};

std::mutex writers;  // held by the writing group; taken before `lock`
std::mutex lock;
Store store;
thread_local enum class Group { None, Reading, Writing } group;

// The field's number in the schema and the row, in one.
int place_of(std::string_view table, int row, std::string_view field) {
    int number = 0;
    while (field != sarn::FIELDS[number].name || table != sarn::table_of(static_cast<sarn::Field>(number)).name)
        ++number;
    return number * sarn::ROW_COUNT + row;
}
const sarn::FieldSpec &spec_at(int place) { return sarn::FIELDS[place / sarn::ROW_COUNT]; }

std::string value_at(int place) {
    const auto found = store.values.find(place);
    return found != store.values.end() ? found->second : reset_text(spec_at(place));
}

void set_value(int place, const std::string &value) {
    const std::string_view name = spec_at(place).name;
    const bool is_read_by_builds =
        name == "DeviceMAC" || name == "Devicestate" || name == "SARNSyncTimestamp" || name == "Timestamp";
    if (is_read_by_builds && value_at(place) != value) ++store.changes;
    store.values[place] = value;
}

// Counts an operation and tells whether it is to fail.
bool is_hit() {
    const int past = ++controls.operations - controls.fail_at;
    return controls.fail_at != 0 && (past == 0 || (controls.fail_forever && past > 0));
}

void call_hook(const char *verb, const std::string &operation) {
    std::unique_lock hold(lock);
    const Hook hook = store.hook;
    hold.unlock();
    if (hook) hook(verb + operation);
}

std::string line_of(Name table, int row, Name field) {
    return std::string(table) + " " + std::to_string(row) + " " + field;
}

int write(Name table, int row, Name field, const std::string &value) {
    const std::string line = line_of(table, row, field) + " " + value;
    call_hook("set ", line);
    const std::lock_guard hold(lock);
    const int place = place_of(table, row, field);
    store.writes.push_back(line);
    if (is_hit() || store.failing.contains(place)) return -1;
    if (group == Group::Reading) ++controls.violations;
    set_value(place, value);
    return 0;
}

bool read(Name table, int row, Name field, std::string *value) {
    call_hook("get ", line_of(table, row, field));
    const std::lock_guard hold(lock);
    const int place = place_of(table, row, field);
    if (is_hit() || store.failing.contains(place)) return false;
    *value = value_at(place);
    return true;
}

template <typename Number>
int read_number(Name table, int row, Name field, Number *number) {
    std::string text;
    if (!read(table, row, field, &text)) return -1;
    *number = static_cast<Number>(std::stoll(text));
    return 0;
}

constexpr size_t USUAL_STACK = 8 << 20;

void set_default(size_t stack, int detach_state) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, stack);
    pthread_attr_setdetachstate(&attributes, detach_state);
    pthread_setattr_default_np(&attributes);
}

}  // namespace

namespace fake {

void reset() {
    store = Store();
    controls = Controls();
    group = Group::None;
}

std::string get(const std::string &table, int row, const std::string &field) {
    return value_at(place_of(table, row, field));
}
void set(const std::string &table, int row, const std::string &field, const std::string &value) {
    set_value(place_of(table, row, field), value);
}
Lines take_writes() { return std::exchange(store.writes, {}); }
Lines take_log() { return std::exchange(store.log, {}); }

void fail_field(const std::string &table, int row, const std::string &field, bool fail) {
    if (fail) store.failing.insert(place_of(table, row, field));
    if (!fail) store.failing.erase(place_of(table, row, field));
}
void on_operation(Hook hook) { store.hook = std::move(hook); }

int32_t begin_group(bool is_writing) {
    call_hook("begin ", is_writing ? "writing" : "reading");
    std::unique_lock alone(writers, std::defer_lock);
    if (is_writing && group == Group::None) alone.lock();
    const std::lock_guard hold(lock);
    if (is_hit()) return -1;
    if (group != Group::None) ++controls.violations;
    group = is_writing ? Group::Writing : Group::Reading;
    if (is_writing) store.before_group = store.values;
    (void)alone.release();  // until the group's end
    return 0;
}

int32_t end_group(bool is_kept) {
    const std::lock_guard hold(lock);
    const Group ended = std::exchange(group, Group::None);
    if (ended == Group::None) ++controls.violations;
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
    return controls.offer_changes ? 0 : -1;
}

// A stack for which no machine has addresses: pthread_create answers with an error.
void fail_threads(bool fail) { set_default(fail ? SIZE_MAX - SIZE_MAX / 8 : USUAL_STACK, PTHREAD_CREATE_JOINABLE); }

void detach_threads(bool detach) {
    set_default(USUAL_STACK, detach ? PTHREAD_CREATE_DETACHED : PTHREAD_CREATE_JOINABLE);
}

}  // namespace fake

extern "C" {

time_t time(time_t *) noexcept { return controls.now; }

void *kora_init_ex(void *) {
    if (controls.fail_open) return nullptr;
    ++controls.handles;
    return &store;
}
int kora_destroy(void *) {
    --controls.handles;
    return 0;
}

int kora_get_ascii(void *, Name table, int row, Name field, char *buffer, int size) {
    std::string value;
    if (!read(table, row, field, &value)) return -1;
    std::snprintf(buffer, static_cast<size_t>(size), "%s", value.c_str());
    return 0;
}
int kora_get_string(void *, Name, int, Name, char *, int) __attribute__((alias("kora_get_ascii")));
int kora_get_enum(void *, Name, int, Name, char *, int) __attribute__((alias("kora_get_ascii")));
int kora_set_ascii(void *, Name table, int row, Name field, Name text) { return write(table, row, field, text); }
int kora_set_string(void *, Name, int, Name, Name) __attribute__((alias("kora_set_ascii")));
int kora_set_enum(void *, Name, int, Name, Name) __attribute__((alias("kora_set_ascii")));
int kora_set_int(void *, Name t, int row, Name f, int value) { return write(t, row, f, std::to_string(value)); }
int kora_set_uint(void *, Name t, int row, Name f, uint32_t value) { return write(t, row, f, std::to_string(value)); }
int kora_set_bool(void *, Name, int, Name, int) __attribute__((alias("kora_set_int")));
int kora_get_bool(void *, Name t, int row, Name f, uint8_t *value) { return read_number(t, row, f, value); }
int kora_get_uint(void *, Name t, int row, Name f, uint32_t *value) { return read_number(t, row, f, value); }
int kora_get_mac(void *, Name table, int row, Name field, uint8_t six[6]) {
    std::string text;
    return read(table, row, field, &text) ? kora_string2mac(text.c_str(), six) : -1;
}
int kora_set_mac(void *, Name table, int row, Name field, const uint8_t six[6]) {
    char text[18];
    std::snprintf(text, sizeof text, "%02X:%02X:%02X:%02X:%02X:%02X", six[0], six[1], six[2], six[3], six[4], six[5]);
    return write(table, row, field, text);
}
int kora_get_ipv4(void *, Name table, int row, Name field, uint8_t four[4]) {
    std::string text;
    return read(table, row, field, &text) ? kora_string2ipv4(text.c_str(), four) : -1;
}
int kora_set_ipv4(void *, Name table, int row, Name field, const uint8_t four[4]) {
    char text[16];
    std::snprintf(text, sizeof text, "%d.%d.%d.%d", four[0], four[1], four[2], four[3]);
    return write(table, row, field, text);
}

void log_printf(int32_t level, const char *, int32_t, const char *format, ...) {
    char message[1024];
    va_list values;
    va_start(values, format);
    std::vsnprintf(message, sizeof message, format, values);
    va_end(values);
    const std::lock_guard hold(lock);
    if (group != Group::None) ++controls.violations;
    store.log.push_back(std::to_string(level) + " " + message);
}

}  // extern "C"
