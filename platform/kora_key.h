// Keys of the store: numbers of two bytes.
//
// What a rebuild of the list reads of every row lies field by field, so that its walk over the rows stays on a few
// neighbouring pages. All else lies row by row, so that a record is read and a report written on the row's own page.
#ifndef KORA_KEY_H
#define KORA_KEY_H

#include <stdint.h>

#include "core/schema.h"
#include "kora_effects.h"

namespace kora {

using Key = uint32_t;

// As it is stored: the bytes compare as the numbers do.
struct KeyBytes {
    uint8_t high;
    uint8_t low;
};
static_assert(sizeof(KeyBytes) == 2 && alignof(KeyBytes) == 1, "these bytes are the key");

constexpr KeyBytes bytes_of(Key key) { return {static_cast<uint8_t>(key >> 8), static_cast<uint8_t>(key)}; }
constexpr Key key_of(KeyBytes bytes) { return static_cast<Key>(bytes.high << 8 | bytes.low); }

inline constexpr uint32_t FIELD_BITS = 6, ROW_BITS = 8;
inline constexpr Key BY_FIELD = 1U << (FIELD_BITS + ROW_BITS);  // first of what lies field by field
inline constexpr Key OWN = 0xff00;                              // first of what the layer keeps for itself
static_assert(sarn::FIELD_COUNT < 1 << FIELD_BITS && sarn::ROW_COUNT <= 1 << ROW_BITS && 2 * BY_FIELD <= OWN);

inline constexpr Key FORMAT_KEY = OWN;
inline constexpr Key CHANGES_KEY = OWN + 1;  // the change number, 8 bytes
inline constexpr Key SAVED_KEY = OWN + 2;    // when a save was last begun, in ns of the monotonic clock
inline constexpr Key BEGUN_KEY = OWN + 3;    // of a list that began without a saved copy: its number, 8 bytes

constexpr bool lies_by_field(sarn::Field field) { return effect_of(field).rebuild != Rebuild::No; }

// Where in its row a field lies: first a record's fields in the order in which they are read. Nothing lies at 0.
struct Slots {
    uint8_t of[sarn::FIELD_COUNT] = {};
    uint8_t last = 0;
};

constexpr void add_slot(Slots &slots, sarn::Field field) {
    uint8_t &slot = slots.of[static_cast<uint8_t>(field)];
    if (slot == 0 && !lies_by_field(field)) slot = ++slots.last;
}

constexpr Slots order_fields() {
    Slots slots;
    for (const sarn::Field field : sarn::RECORD_FIELDS) add_slot(slots, field);
    for (int32_t i = 0; i < sarn::FIELD_COUNT; ++i) add_slot(slots, static_cast<sarn::Field>(i));
    return slots;
}

// The keys of a field: that of row 0, and how far apart those of its rows are, as a power of two.
struct Column {
    uint16_t first = 0;
    uint8_t step_bits = 0;
};

struct Columns {
    Column of[sarn::FIELD_COUNT];
};

constexpr Columns place_fields() {
    const Slots slots = order_fields();
    Columns columns;
    for (uint32_t field = 0; field < sarn::FIELD_COUNT; ++field) {
        const bool is_by_field = lies_by_field(static_cast<sarn::Field>(field));
        columns.of[field].first = static_cast<uint16_t>(is_by_field ? BY_FIELD | field << ROW_BITS : slots.of[field]);
        columns.of[field].step_bits = is_by_field ? 0 : FIELD_BITS;
    }
    return columns;
}

struct Place {
    sarn::Field field;
    uint8_t row;
};

inline Key key_of(Place place) {
    static constexpr Columns COLUMNS = place_fields();
    const Column column = COLUMNS.of[static_cast<uint8_t>(place.field)];
    return column.first | Key{place.row} << column.step_bits;
}

}  // namespace kora

#endif
