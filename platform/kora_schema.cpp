#include "kora_schema.h"

#include <string.h>

#include <atomic>
#include <string_view>

#include "kora.h"
#include "kora_key.h"

namespace kora {

using sarn::FIELD_COUNT;
using sarn::FIELDS;
using sarn::FieldSpec;
using sarn::TABLES;
using sarn::Type;

namespace {

// Every operation begins with two names, so they are found without a loop over them: a few of their bytes lead to the
// one field that they can mean, and two comparisons then tell whether they do. The multiplier that keeps all fields
// apart is found by the compiler.
constexpr uint64_t GOLDEN = 0x9e3779b97f4a7c15;  // 2^64 over the golden ratio: odd, and spreads what it multiplies
constexpr uint32_t INDEX_BITS = 10;
constexpr uint8_t NO_FIELD = 0xff;
static_assert(FIELD_COUNT < NO_FIELD);

constexpr uint64_t features(std::string_view table, std::string_view name) {
    const auto at = [](std::string_view text, size_t place) { return uint64_t{static_cast<uint8_t>(text[place])}; };
    return table.size() | name.size() << 8 | at(table, 0) << 16 | at(name, 0) << 24 | at(name, name.size() / 2) << 32 |
           at(name, name.size() - 1) << 40;
}

constexpr uint32_t index_of(uint64_t features, uint64_t multiplier) {
    return static_cast<uint32_t>((features * multiplier) >> (64 - INDEX_BITS));
}

struct NameIndex {
    uint64_t multiplier = 0;
    uint8_t fields[1 << INDEX_BITS] = {};
};

constexpr bool fill_index(NameIndex &index) {
    for (uint8_t &field : index.fields) field = NO_FIELD;
    for (int32_t i = 0; i < FIELD_COUNT; ++i) {
        const char *table = table_of(static_cast<sarn::Field>(i)).name;
        uint8_t &entry = index.fields[index_of(features(table, FIELDS[i].name), index.multiplier)];
        if (entry != NO_FIELD) return false;
        entry = static_cast<uint8_t>(i);
    }
    return true;
}

constexpr NameIndex make_index() {
    constexpr int TRIES = 100;
    NameIndex index;
    for (int i = 0; i < TRIES; ++i) {
        index.multiplier += GOLDEN;
        if (fill_index(index)) return index;
    }
    return NameIndex{};
}

constexpr NameIndex NAME_INDEX = make_index();
static_assert(NAME_INDEX.multiplier != 0, "the bytes that features() takes do not tell all fields apart");

constexpr uint32_t mix(uint32_t hash, uint8_t byte) {
    constexpr uint32_t FNV_PRIME = 16777619;
    return (hash ^ byte) * FNV_PRIME;
}

template <size_t N>
constexpr uint32_t mix(uint32_t hash, const char (&text)[N]) {
    for (const char c : text) hash = mix(hash, static_cast<uint8_t>(c));
    return hash;
}

constexpr uint32_t mix(uint32_t hash, uint32_t number) {
    for (int bits = 0; bits < 32; bits += 8) hash = mix(hash, static_cast<uint8_t>(number >> bits));
    return hash;
}

constexpr uint32_t make_fingerprint() {
    constexpr Columns COLUMNS = place_fields();
    uint32_t hash = 2166136261;
    for (int32_t i = 0; i < FIELD_COUNT; ++i) {
        const FieldSpec &spec = FIELDS[i];
        const sarn::TableSpec &table = table_of(static_cast<sarn::Field>(i));
        hash = mix(mix(mix(hash, table.name), static_cast<uint32_t>(table.rows)), spec.name);
        hash = mix(hash, static_cast<uint8_t>(spec.type));
        hash = mix(mix(hash, spec.reset.text), static_cast<uint32_t>(spec.reset.number));
        hash = mix(mix(hash, uint32_t{COLUMNS.of[i].first}), COLUMNS.of[i].step_bits);
        hash = mix(hash, static_cast<uint8_t>(EFFECTS_BY_FIELD.of[i].rebuild));
    }
    for (const auto &state : sarn::OFFLINE_STATES) hash = mix(hash, state);
    return hash;
}

// Callers pass literals, so where names lie in memory tells which field was meant the last time. It is never more than
// a guess: what lies there is compared.
constexpr uint32_t GUESS_BITS = 8;
std::atomic<uint8_t> guesses[1 << GUESS_BITS];

std::atomic<uint8_t> &guess_for(const char *table, const char *name) {
    const uint64_t mixed = (reinterpret_cast<uintptr_t>(table) * 3 + reinterpret_cast<uintptr_t>(name)) * GOLDEN;
    return guesses[mixed >> (64 - GUESS_BITS)];
}

bool is_named(const FieldSpec &spec, const char *table, const char *name) {
    return strcmp(spec.name, name) == 0 && strcmp(TABLES[static_cast<uint8_t>(spec.table)].name, table) == 0;
}

bool search_field(const char *table, const char *name, uint8_t &out_index) {
    const size_t table_length = strnlen(table, sizeof TABLES->name);
    const size_t name_length = strnlen(name, sizeof FIELDS->name);
    if (table_length == 0 || table_length == sizeof TABLES->name) return false;
    if (name_length == 0 || name_length == sizeof FIELDS->name) return false;

    const uint64_t wanted = features({table, table_length}, {name, name_length});
    out_index = NAME_INDEX.fields[index_of(wanted, NAME_INDEX.multiplier)];
    return out_index != NO_FIELD && is_named(FIELDS[out_index], table, name);
}

}  // namespace

uint32_t schema_fingerprint() {
    constexpr uint32_t FINGERPRINT = make_fingerprint();
    return FINGERPRINT;
}

bool find_field(const char *table, const char *name, sarn::Field &out_field) {
    std::atomic<uint8_t> &guess = guess_for(table, name);
    uint8_t index = guess.load(std::memory_order_relaxed);
    if (!is_named(FIELDS[index], table, name)) {
        if (!search_field(table, name, index)) return false;
        guess.store(index, std::memory_order_relaxed);
    }
    out_field = static_cast<sarn::Field>(index);
    return true;
}

constexpr bool does_every_text_fit() {
    for (const FieldSpec &spec : FIELDS) {
        if (spec.width > KORA_TEXT_MAX + 1) return false;
    }
    return true;
}
static_assert(does_every_text_fit(), "a field is read into a buffer that its longest text does not fill");

Bytes reset_value(sarn::Field field) {
    static constexpr uint8_t ZEROS[MAC_SIZE] = {};
    const FieldSpec &spec = sarn::spec_of(field);
    switch (spec.type) {
        case Type::Ascii:
        case Type::String:
        case Type::Enum: return {spec.reset.text, strnlen(spec.reset.text, sizeof spec.reset.text)};
        case Type::Bool:
        case Type::Int:
        case Type::Uint: return {&spec.reset.number, NUMBER_SIZE};
        case Type::Mac: return {ZEROS, MAC_SIZE};
        case Type::Ipv4: return {ZEROS, IPV4_SIZE};
    }
    return {nullptr, 0};
}

}  // namespace kora
