#include "core/store.h"

#include <pthread.h>

#include "core/group.h"
#include "platform/kora.h"

// Not every store offers groups and a change number: null where the process has none. Only a second declaration can say
// so. NOLINTBEGIN(readability-redundant-declaration)
extern "C" {
__attribute__((weak)) int32_t kora_begin(void *handle, int32_t mode);
__attribute__((weak)) int32_t kora_end(void *handle, int32_t keep);
__attribute__((weak)) int32_t kora_changes(void *handle, uint64_t *number);
}
// NOLINTEND(readability-redundant-declaration)

namespace sarn {

namespace {

template <typename Operation, typename... Values>
bool call_store(Operation operation, Field field, int32_t row, Values... values) SARN_REQUIRES_SHARED(state_lock) {
    return is_store_open() && operation(store_handle, table_of(field).name, row, spec_of(field).name, values...) == 0;
}

// The thread that has a writing group open, of which the store allows one at a time; 0 for none.
pthread_t group_writer = 0;
bool has_group_write_failed = false;  // of that thread alone

bool is_group_writer() { return __atomic_load_n(&group_writer, __ATOMIC_RELAXED) == pthread_self(); }

template <typename Operation, typename... Values>
bool write_to_store(Operation operation, Field field, int32_t row, Values... values) SARN_REQUIRES_SHARED(state_lock) {
    const bool is_written = call_store(operation, field, row, values...);
    if (!is_written && is_group_writer()) has_group_write_failed = true;
    return is_written;
}

}  // namespace

bool open_store() {
    store_handle = kora_init_ex(nullptr);
    return is_store_open();
}

void close_store() {
    (void)kora_destroy(store_handle);
    store_handle = nullptr;
}

bool is_store_open() { return store_handle != nullptr; }

bool has_groups() { return &kora_begin != nullptr && &kora_end != nullptr; }

bool begin_group(GroupMode mode) {
    const bool is_writing = mode == GroupMode::Writing;
    if (!is_store_open() || kora_begin(store_handle, is_writing ? KORA_WRITING : KORA_READING) != 0) return false;
    if (is_writing) {
        has_group_write_failed = false;
        __atomic_store_n(&group_writer, pthread_self(), __ATOMIC_RELAXED);
    }
    return true;
}

bool end_group(bool is_kept) {
    const bool is_whole = !is_group_writer() || !has_group_write_failed;
    if (is_group_writer()) __atomic_store_n(&group_writer, pthread_t{0}, __ATOMIC_RELAXED);
    return kora_end(store_handle, is_kept && is_whole ? 1 : 0) == 0 && is_whole;
}

bool read_change_number(uint64_t *number) {
    return &kora_changes != nullptr && is_store_open() && kora_changes(store_handle, number) == 0;
}

bool read_text(Field field, int32_t row, char *buffer, int32_t size) {
    switch (spec_of(field).type) {
        case Type::Ascii: return call_store(kora_get_ascii, field, row, buffer, size);
        case Type::String: return call_store(kora_get_string, field, row, buffer, size);
        case Type::Enum: return call_store(kora_get_enum, field, row, buffer, size);
        default: return false;
    }
}

bool read_ascii(Field field, int32_t row, char *buffer, int32_t size) {
    return call_store(kora_get_ascii, field, row, buffer, size);
}

bool read_bool(Field field, int32_t row, uint8_t *value) { return call_store(kora_get_bool, field, row, value); }

bool read_uint(Field field, int32_t row, uint32_t *value) { return call_store(kora_get_uint, field, row, value); }

bool read_mac(Field field, int32_t row, uint8_t (&mac)[6]) { return call_store(kora_get_mac, field, row, mac); }

bool read_ipv4(Field field, int32_t row, uint8_t (&ip)[4]) { return call_store(kora_get_ipv4, field, row, ip); }

bool write_text(Field field, int32_t row, const char *text) {
    switch (spec_of(field).type) {
        case Type::Ascii: return write_to_store(kora_set_ascii, field, row, text);
        case Type::String: return write_to_store(kora_set_string, field, row, text);
        case Type::Enum: return write_to_store(kora_set_enum, field, row, text);
        case Type::Mac: {
            uint8_t mac[6] = {};
            return mac_from_text(text, mac) && write_mac(field, row, mac);
        }
        case Type::Ipv4: {
            uint8_t ip[4] = {};
            return kora_string2ipv4(text, ip) == 0 && write_ipv4(field, row, ip);
        }
        default: return false;
    }
}

bool write_number(Field field, int32_t row, int32_t value) {
    switch (spec_of(field).type) {
        case Type::Bool: return write_to_store(kora_set_bool, field, row, value);
        case Type::Int: return write_to_store(kora_set_int, field, row, value);
        case Type::Uint: return write_to_store(kora_set_uint, field, row, static_cast<uint32_t>(value));
        default: return false;
    }
}

bool write_mac(Field field, int32_t row, const uint8_t (&mac)[6]) {
    return write_to_store(kora_set_mac, field, row, mac);
}

bool write_ipv4(Field field, int32_t row, const uint8_t (&ip)[4]) {
    return write_to_store(kora_set_ipv4, field, row, ip);
}

bool write_reset_value(Field field, int32_t row) {
    static constexpr uint8_t NO_MAC[6] = {};
    static constexpr uint8_t NO_IP[4] = {};
    const FieldSpec &spec = spec_of(field);
    switch (spec.type) {
        case Type::Mac: return write_mac(field, row, NO_MAC);
        case Type::Ipv4: return write_ipv4(field, row, NO_IP);
        case Type::Bool:
        case Type::Int:
        case Type::Uint: return write_number(field, row, spec.reset.number);
        default: return write_text(field, row, spec.reset.text);
    }
}

bool mac_from_text(const char *text, uint8_t (&mac)[6]) { return kora_string2mac(text, mac) == 0; }

}  // namespace sarn
