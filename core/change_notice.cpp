#include "core/change_notice.h"

#include "core/store.h"

namespace sarn {

bool is_change_announced(int32_t producer_id) { return producer_id >= 0 && producer_id != SARN_PRODUCER_QUIET; }

void announce_device_change(int32_t row) { (void)write_number(Field::BRIXNotifyCDUPDATE_IndexCD, SINGLE_ROW, row); }

}  // namespace sarn
