// Bitmaps of rows: row r is bit r % 32 of word r / 32.
#ifndef SARN_CORE_ROW_BITMAP_H
#define SARN_CORE_ROW_BITMAP_H

#include <stdint.h>

#include "include/sarn.h"

namespace sarn {

using RowBitmap = uint32_t[SARN_BITMAP_WORDS];

inline constexpr int32_t WORD_BITS = 32;

constexpr uint32_t bit_of(int32_t row) { return 1U << (row % WORD_BITS); }

constexpr void set_row(RowBitmap &bitmap, int32_t row) { bitmap[row / WORD_BITS] |= bit_of(row); }
constexpr void clear_row(RowBitmap &bitmap, int32_t row) { bitmap[row / WORD_BITS] &= ~bit_of(row); }
constexpr bool has_row(const RowBitmap &bitmap, int32_t row) { return (bitmap[row / WORD_BITS] & bit_of(row)) != 0; }

constexpr int32_t count_rows(const RowBitmap &bitmap) {
    int32_t count = 0;
    for (const uint32_t word : bitmap) count += __builtin_popcount(word);
    return count;
}

constexpr bool is_any_row(const RowBitmap &bitmap) {
    uint32_t rows = 0;
    for (const uint32_t word : bitmap) rows |= word;
    return rows != 0;
}

}  // namespace sarn

#endif
