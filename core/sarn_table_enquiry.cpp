#include <string.h>

#include "core/entry_gate.h"
#include "core/mapping_table.h"

namespace sarn {

int32_t sarn_table_enquiry_locked(uint32_t *words, int32_t word_count) {
    if (!require_initialised()) return SARN_ERR_NOT_READY;
    if (pass_entry_gate() != SARN_OK) return SARN_ERR_REBUILD;
    if (words == nullptr) return SARN_ERR_NULL_BUFFER;
    if (word_count != SARN_BITMAP_WORDS) return SARN_ERR_WORD_COUNT;
    memcpy(words, inuse_bitmap, sizeof inuse_bitmap);
    return SARN_OK;
}

}  // namespace sarn

int32_t sarn_table_enquiry(uint32_t *words, int32_t word_count) {
    const sarn::Exclusive hold(sarn::state_lock);
    return sarn::sarn_table_enquiry_locked(words, word_count);
}
