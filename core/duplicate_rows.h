#ifndef SARN_CORE_DUPLICATE_ROWS_H
#define SARN_CORE_DUPLICATE_ROWS_H

#include "core/row_bitmap.h"
#include "core/state.h"

namespace sarn {

// Of the rows of `rows` that hold one MAC keeps the one with the newest "Timestamp" and resets the others, clearing
// them in `rows` too.
void remove_duplicate_rows(RowBitmap &rows) SARN_REQUIRES(state_lock);

}  // namespace sarn

#endif
