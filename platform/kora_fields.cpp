// The typed operations: each checks what its caller may pass and leaves the rest to read_value and write_value.
#include <string.h>

#include "kora.h"
#include "kora_transaction.h"

namespace kora {

using sarn::Type;

namespace {

constexpr uint32_t only(Type type) { return 1U << static_cast<uint8_t>(type); }

bool find_place(const char *table, int32_t row, const char *field, uint32_t types, Place &out_place) {
    if (table == nullptr || field == nullptr || !find_field(table, field, out_place.field)) return false;
    if ((only(sarn::spec_of(out_place.field).type) & types) == 0) return false;
    if (row < 0 || row >= sarn::table_of(out_place.field).rows) return false;
    out_place.row = static_cast<uint8_t>(row);
    return true;
}

int32_t get_text(void *handle, const char *table, int32_t row, const char *field, uint32_t types, char *buffer,
                 int32_t size) {
    Place place;
    if (buffer == nullptr || size < 1 || !find_place(table, row, field, types, place)) return REFUSED;
    return read_value(handle, place, [&](Bytes value) {
        if (value.size > KORA_TEXT_MAX) return MDB_CORRUPTED;
        const auto capacity = static_cast<size_t>(size) - 1;
        const size_t length = value.size < capacity ? value.size : capacity;
        memcpy(buffer, value.data, length);
        buffer[length] = '\0';
        return 0;
    });
}

int32_t set_text(void *handle, const char *table, int32_t row, const char *field, uint32_t types, const char *text) {
    Place place;
    if (text == nullptr || !find_place(table, row, field, types, place)) return REFUSED;
    const size_t length = strnlen(text, KORA_TEXT_MAX + 1);
    return length > KORA_TEXT_MAX ? REFUSED : write_value(handle, place, {text, length});
}

template <size_t SIZE>
int32_t get_bytes(void *handle, const char *table, int32_t row, const char *field, uint32_t types, void *bytes) {
    Place place;
    if (bytes == nullptr || !find_place(table, row, field, types, place)) return REFUSED;
    return read_value(handle, place, [&](Bytes value) {
        if (value.size != SIZE) return MDB_CORRUPTED;
        memcpy(bytes, value.data, SIZE);
        return 0;
    });
}

int32_t set_bytes(void *handle, const char *table, int32_t row, const char *field, uint32_t types, const void *bytes,
                  size_t size) {
    Place place;
    if (bytes == nullptr || !find_place(table, row, field, types, place)) return REFUSED;
    return write_value(handle, place, {bytes, size});
}

}  // namespace
}  // namespace kora

using namespace kora;

extern "C" {

int32_t kora_get_ascii(void *handle, const char *table, int32_t row, const char *field, char *buffer, int32_t size) {
    return get_text(handle, table, row, field, only(Type::Ascii) | only(Type::Enum), buffer, size);
}

int32_t kora_set_ascii(void *handle, const char *table, int32_t row, const char *field, const char *text) {
    return set_text(handle, table, row, field, only(Type::Ascii), text);
}

int32_t kora_get_string(void *handle, const char *table, int32_t row, const char *field, char *buffer, int32_t size) {
    return get_text(handle, table, row, field, only(Type::String), buffer, size);
}

int32_t kora_set_string(void *handle, const char *table, int32_t row, const char *field, const char *text) {
    return set_text(handle, table, row, field, only(Type::String), text);
}

int32_t kora_get_enum(void *handle, const char *table, int32_t row, const char *field, char *buffer, int32_t size) {
    return get_text(handle, table, row, field, only(Type::Enum), buffer, size);
}

int32_t kora_set_enum(void *handle, const char *table, int32_t row, const char *field, const char *text) {
    return set_text(handle, table, row, field, only(Type::Enum), text);
}

int32_t kora_get_bool(void *handle, const char *table, int32_t row, const char *field, uint8_t *value) {
    int32_t number = 0;
    if (value == nullptr) return REFUSED;
    const int32_t result = get_bytes<NUMBER_SIZE>(handle, table, row, field, only(Type::Bool), &number);
    if (result == DONE) *value = number != 0;
    return result;
}

int32_t kora_set_bool(void *handle, const char *table, int32_t row, const char *field, int32_t value) {
    const int32_t number = value != 0;
    return set_bytes(handle, table, row, field, only(Type::Bool), &number, sizeof number);
}

int32_t kora_set_int(void *handle, const char *table, int32_t row, const char *field, int32_t value) {
    return set_bytes(handle, table, row, field, only(Type::Int), &value, sizeof value);
}

int32_t kora_get_uint(void *handle, const char *table, int32_t row, const char *field, uint32_t *value) {
    return get_bytes<NUMBER_SIZE>(handle, table, row, field, only(Type::Int) | only(Type::Uint), value);
}

int32_t kora_set_uint(void *handle, const char *table, int32_t row, const char *field, uint32_t value) {
    return set_bytes(handle, table, row, field, only(Type::Uint), &value, sizeof value);
}

int32_t kora_get_mac(void *handle, const char *table, int32_t row, const char *field, uint8_t six[6]) {
    return get_bytes<MAC_SIZE>(handle, table, row, field, only(Type::Mac), six);
}

int32_t kora_set_mac(void *handle, const char *table, int32_t row, const char *field, const uint8_t six[6]) {
    return set_bytes(handle, table, row, field, only(Type::Mac), six, MAC_SIZE);
}

int32_t kora_get_ipv4(void *handle, const char *table, int32_t row, const char *field, uint8_t four[4]) {
    return get_bytes<IPV4_SIZE>(handle, table, row, field, only(Type::Ipv4), four);
}

int32_t kora_set_ipv4(void *handle, const char *table, int32_t row, const char *field, const uint8_t four[4]) {
    return set_bytes(handle, table, row, field, only(Type::Ipv4), four, IPV4_SIZE);
}
}
