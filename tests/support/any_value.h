// A value of any field of the real store, whatever its type.
#ifndef SARN_TESTS_ANY_VALUE_H
#define SARN_TESTS_ANY_VALUE_H

#include <cstdint>
#include <string>

#include "core/schema.h"
#include "platform/kora.h"

// The members that are not of the field's type stay empty.
struct Value {
    char text[KORA_TEXT_MAX + 1] = "";
    uint8_t bytes[6] = {};
    uint8_t flag = 0;
    uint32_t number = 0;
    bool operator==(const Value &) const = default;
};

inline int32_t read_any(void *handle, sarn::Field field, int32_t row, Value &value) {
    const char *table = sarn::table_of(field).name, *name = sarn::spec_of(field).name;
    switch (sarn::spec_of(field).type) {
        case sarn::Type::Ascii: return kora_get_ascii(handle, table, row, name, value.text, sizeof value.text);
        case sarn::Type::String: return kora_get_string(handle, table, row, name, value.text, sizeof value.text);
        case sarn::Type::Enum: return kora_get_enum(handle, table, row, name, value.text, sizeof value.text);
        case sarn::Type::Bool: return kora_get_bool(handle, table, row, name, &value.flag);
        case sarn::Type::Int:
        case sarn::Type::Uint: return kora_get_uint(handle, table, row, name, &value.number);
        case sarn::Type::Mac: return kora_get_mac(handle, table, row, name, value.bytes);
        case sarn::Type::Ipv4: return kora_get_ipv4(handle, table, row, name, value.bytes);
    }
    return -1;
}

// As text, of a field that no one has written.
inline std::string reset_text(const sarn::FieldSpec &spec) {
    switch (spec.type) {
        case sarn::Type::Mac: return "00:00:00:00:00:00";
        case sarn::Type::Ipv4: return "0.0.0.0";
        case sarn::Type::Bool:
        case sarn::Type::Int:
        case sarn::Type::Uint: return std::to_string(spec.reset.number);
        default: return spec.reset.text;
    }
}

#endif
