#include <stdint.h>
#include <string.h>

#include "core/log.h"
#include "core/mapping_table.h"

namespace sarn {

namespace {

// The end of a MAC text in one number: it tells most devices apart, so that most rows cost one comparison.
uint64_t tail_of(const char *mac) {
    uint64_t tail;
    memcpy(&tail, mac + MAC_TEXT_LENGTH - sizeof tail, sizeof tail);
    return tail;
}

}  // namespace

int32_t row_in_use_of(const char *mac, const RowBitmap &in_use) {
    const uint64_t tail = tail_of(mac);
    for (int32_t word = SARN_BITMAP_WORDS - 1; word >= 0; --word) {
        if (in_use[word] == 0) continue;
        for (int32_t row = word * WORD_BITS; row < (word + 1) * WORD_BITS; ++row) {
            if (tail_of(mapping_table[row].MACData) != tail || !has_row(in_use, row)) continue;
            if (memcmp(mapping_table[row].MACData, mac, MAC_TEXT_LENGTH) == 0) return row;
        }
    }
    return SARN_ERR_NO_ROW;
}

void log_lookup(const char *mac) { SARN_LOG(LookupBegins, "check_mac_pre_existing", __LINE__, mac); }

bool check_mac_pre_existing(const char *mac, int32_t *row) {
    if (inuse_count <= 0) return false;
    RowBitmap in_use = {};
    const int32_t enquiry = sarn_table_enquiry_locked(in_use, SARN_BITMAP_WORDS);
    log_lookup(mac);
    const int32_t found = enquiry == SARN_OK ? row_in_use_of(mac, in_use) : SARN_ERR_NO_ROW;
    if (!is_row(found)) return false;
    *row = found;
    return true;
}

}  // namespace sarn
