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
static_assert(sarn::FIELD_COUNT < 1 << FIELD_BITS && sarn::ROW_COUNT <= 1 << ROW_BITS && 2 * BY_FIELD <= OWN,
              "more fields or rows than a key has room for");

inline constexpr Key FORMAT_KEY = OWN;
inline constexpr Key CHANGES_KEY = OWN + 1;  // the change number, 8 bytes
inline constexpr Key SAVED_KEY = OWN + 2;    // when a save was last begun, in ns of the monotonic clock
inline constexpr Key BEGUN_KEY = OWN + 3;    // of a list that began without a saved copy: its number, 8 bytes

// The keys of a field: that of row 0, and how far apart those of its rows are, as a power of two.
struct Column {
    uint16_t first = 0;  // of no field: nothing lies at 0
    uint8_t step_bits = 0;
};

struct Columns {
    Column of[sarn::FIELD_COUNT];
};

// In a row a record's fields come first, in the order in which they are read.
constexpr Columns place_fields() {
    Columns columns;
    uint16_t last_in_row = 0;
    const auto place = [&](uint8_t field) {
        Column &column = columns.of[field];
        if (column.first != 0) return;
        if (effect_of(static_cast<sarn::Field>(field)).rebuild != Rebuild::No)
            column.first = static_cast<uint16_t>(BY_FIELD | uint32_t{field} << ROW_BITS);
        else
            column = {++last_in_row, FIELD_BITS};
    };
    for (const sarn::Field field : sarn::RECORD_FIELDS) place(static_cast<uint8_t>(field));
    for (uint8_t field = 0; field < sarn::FIELD_COUNT; ++field) place(field);
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
