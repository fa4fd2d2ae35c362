#include "session.h"

#include <string>

#include "refusal.h"
#include "sarn.h"

namespace tool {

namespace {
constexpr uint32_t BITS_PER_WORD = 32;
}

Session::Session() {
    const int32_t code = sarn_init();
    if (code == SARN_OK) return;
    if (code == SARN_ERR_CLEANUP) (void)sarn_uninit();  // it is refused only after the store was opened
    throw refusal_of(Call::Start, code, "cannot open the device list");
}

Session::~Session() { (void)sarn_uninit(); }

std::vector<uint32_t> Session::rows_in_use() const {
    uint32_t words[SARN_BITMAP_WORDS] = {};
    const int32_t code = sarn_table_enquiry(words, SARN_BITMAP_WORDS);
    if (code != SARN_OK) throw refusal_of(Call::Enquiry, code, "cannot read which rows are in use");
    std::vector<uint32_t> rows;
    for (uint32_t row = 0; row < SARN_ROWS; ++row) {
        if ((words[row / BITS_PER_WORD] >> (row % BITS_PER_WORD) & 1u) != 0) rows.push_back(row);
    }
    return rows;
}

Device Session::read_device(uint32_t row) const {
    Device device = {.row = row, .record = {}};
    const int32_t code = get_device_info_at_index(&device.record, row);
    if (code != SARN_OK) throw refusal_of(Call::ReadRow, code, "cannot read row " + std::to_string(row));
    return device;
}

}  // namespace tool
