// A row of the list and how its members are read: never past their width, and only up to their NUL.
#ifndef SARN_TOOLS_DEVICE_RECORD_H
#define SARN_TOOLS_DEVICE_RECORD_H

#include <cstdint>
#include <string>
#include <string_view>

#include "device_fields.h"
#include "sarn.h"

namespace tool {

struct Device {
    uint32_t row;
    device_info record;
};

inline constexpr char NOTHING_KNOWN[] = "-";
inline constexpr char NOT_READABLE[] = "(not readable)";

// The bytes of a text member as the client or a producer gave them.
std::string_view read_text(const device_info &record, const FieldSpec &field);

// Signed, as producers are.
int32_t read_number(const device_info &record, const FieldSpec &field);

// The library leaves a text that it could not read full of '0', without a NUL; but an IP address as the one that these
// characters spell.
bool is_not_readable(std::string_view text, const FieldSpec &field);

// A member as a person reads it: escaped, and words in place of an empty or unreadable text.
std::string shown_value(const device_info &record, const FieldSpec &field);

bool is_offline(std::string_view state);

// The owner's own word first, then what was recognised, then what was composed. Escaped.
std::string shown_name(const device_info &record);
std::string shown_type(const device_info &record);
std::string shown_brand(const device_info &record);
std::string shown_model(const device_info &record);

consteval const FieldSpec &field_named(std::string_view name) {
    for (const FieldSpec &field : FIELDS) {
        if (name == field.name) return field;
    }
    throw "no such member";
}

}  // namespace tool

#endif
