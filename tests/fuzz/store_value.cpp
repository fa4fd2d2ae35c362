// Any row and value, under any name, to each writing operation of the store, alone and in groups: kept and read back,
// or refused and nothing changed.
#include "core/schema.h"
#include "fuzz.h"
#include "platform/kora.h"

namespace {

using sarn::Type;

struct Place {
    std::string table, name;
    int32_t row;
};

std::string read(void *handle, Type type, const Place &place) {
    const char *table = place.table.c_str(), *name = place.name.c_str();
    char bytes[KORA_TEXT_MAX + 1] = {};
    auto *octets = reinterpret_cast<uint8_t *>(bytes);
    uint32_t number = 0;
    int32_t result = 0;
    switch (type) {
        case Type::String: result = kora_get_string(handle, table, place.row, name, bytes, sizeof bytes); break;
        case Type::Bool: result = kora_get_bool(handle, table, place.row, name, octets); break;
        case Type::Mac: result = kora_get_mac(handle, table, place.row, name, octets); break;
        case Type::Ipv4: result = kora_get_ipv4(handle, table, place.row, name, octets); break;
        case Type::Int:
        case Type::Uint: result = kora_get_uint(handle, table, place.row, name, &number); break;
        default: result = kora_get_ascii(handle, table, place.row, name, bytes, sizeof bytes);
    }
    if (number != 0) std::memcpy(bytes, &number, sizeof number);
    return result == 0 ? std::string(bytes, sizeof bytes) : "refused";
}

// What will be read of it is left in `value`.
int32_t write(void *handle, Type type, const Place &place, std::string &value) {
    const char *table = place.table.c_str(), *name = place.name.c_str();
    const std::string text = value.c_str();
    uint8_t octets[6] = {};
    value.copy(reinterpret_cast<char *>(octets), sizeof octets);
    uint32_t number = 0;
    std::memcpy(&number, octets, sizeof number);
    const auto as_int = static_cast<int32_t>(number);
    value.assign(reinterpret_cast<char *>(octets), type == Type::Mac ? 6 : 4);
    switch (type) {
        case Type::Bool: value = number != 0 ? "\1" : ""; return kora_set_bool(handle, table, place.row, name, as_int);
        case Type::Int: return kora_set_int(handle, table, place.row, name, as_int);
        case Type::Uint: return kora_set_uint(handle, table, place.row, name, number);
        case Type::Mac: return kora_set_mac(handle, table, place.row, name, octets);
        case Type::Ipv4: return kora_set_ipv4(handle, table, place.row, name, octets);
        default: value = text;
    }
    const auto set = type == Type::Ascii ? kora_set_ascii : type == Type::Enum ? kora_set_enum : kora_set_string;
    return set(handle, table, place.row, name, text.c_str());
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const OwnStore store;
    static void *const handle = kora_init_ex(nullptr);
    require(handle != nullptr, "no store");
    for (Input input(data, size); !input.is_over();) {
        const sarn::FieldSpec &spec = sarn::FIELDS[input.byte() % sarn::FIELD_COUNT];
        const auto type = static_cast<Type>(input.byte() % 8);
        const uint8_t how = input.byte();
        Place place = {sarn::TABLES[static_cast<size_t>(spec.table)].name, spec.name, input.byte() - 1};
        if (how % 16 == 0) (how % 32 == 0 ? place.table : place.name) = input.text();
        std::string value = input.text();
        const bool is_text_too_long = std::strlen(value.c_str()) > KORA_TEXT_MAX;
        const bool is_in_group = (how & 64) != 0, is_dropped = is_in_group && (how & 128) != 0;
        if (is_in_group) require(kora_begin(handle, KORA_WRITING) == 0, "no group");
        const std::string before = read(handle, spec.type, place);
        const int32_t result = write(handle, type, place, value);
        const std::string meanwhile = read(handle, spec.type, place);
        if (is_in_group) require(kora_end(handle, !is_dropped) == 0, "the group fails");
        value.resize(KORA_TEXT_MAX + 1);
        const bool is_right = before != "refused" && type == spec.type && (type > Type::Enum || !is_text_too_long);
        require((result == 0) == is_right || how % 16 == 0, "taken and refused the wrong way round");
        require(meanwhile == (result == 0 ? value : before), "not what was written");
        require(read(handle, spec.type, place) == (is_dropped ? before : meanwhile), "the group is not whole");
    }
    return 0;
}
