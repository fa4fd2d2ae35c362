#include "core/change_notice.h"

#include "core/store.h"

namespace sarn {

bool announce_device_change(int32_t row, int32_t producer_id) {
    if (producer_id < 0 || producer_id == SARN_PRODUCER_QUIET) return false;
    (void)write_number(Field::BRIXNotifyCDUPDATE_IndexCD, SINGLE_ROW, row);
    return true;
}

}  // namespace sarn
