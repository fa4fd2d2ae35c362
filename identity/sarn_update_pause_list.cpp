// Pauses or resumes a list of devices, and announces each change.
#include <string.h>

#include "core/address_text.h"
#include "core/bounded_text.h"
#include "core/change_notice.h"
#include "core/group.h"
#include "core/log.h"
#include "core/mapping_table.h"
#include "core/store.h"
#include "include/sarn.h"

namespace sarn {

namespace {

bool is_in_state(int32_t row, const char *access) SARN_REQUIRES(state_lock) {
    char current[8];
    memset(current, '0', sizeof current);  // a failed read is neither state
    (void)read_text(Field::Sarnsignature_AllowOrBlock, row, current, sizeof current);
    return strncmp(current, access, sizeof current) == 0;
}

// True when the device was not in the asked state and now is, or would be if the store had taken it.
bool set_access(char *mac, const char *access, int32_t producer_id) {
    const Exclusive hold(state_lock);
    const int32_t row = check_update_mapping_table_locked(mac, SARN_PRODUCER_LOOKUP_ONLY);
    if (!is_row(row)) return false;

    const bool is_announced = is_change_announced(producer_id);
    const GroupEnd end = write_group([&]() SARN_REQUIRES(state_lock) {
        if (!holds_known_device(row) || is_in_state(row, access)) return false;
        (void)write_text(Field::Sarnsignature_AllowOrBlock, row, access);
        if (is_announced) announce_device_change(row);
        return true;
    });
    // A group that could not begin has not looked either.
    if (end == GroupEnd::Dropped || (end == GroupEnd::Failed && is_in_state(row, access))) return false;
    if (is_announced) SARN_LOG(PauseAnnounced);
    return true;
}

}  // namespace

}  // namespace sarn

int32_t sarn_update_pause_list(const char *const *macs, uint8_t state, uint32_t count, int32_t producer_id) {
    using namespace sarn;
    SARN_LOG(PauseListBegins, __func__, __LINE__, static_cast<int32_t>(count), state, producer_id);
    if (!is_initialised()) {
        SARN_LOG(UnauthorizedAccess);
        return SARN_ERR_NOT_READY;
    }
    if (count == 0 || macs == nullptr) return SARN_OK;

    bool is_any_changed = false;
    for (uint32_t i = 0; i < count; ++i) {
        if (macs[i] == nullptr) return SARN_ERR_MAC;
        MacText mac(macs[i]);
        if (!mac_sanity_check(mac.text)) return SARN_ERR_MAC;
        if (set_access(mac.text, state != 0 ? "allow" : "block", producer_id)) is_any_changed = true;
    }
    return is_any_changed ? SARN_OK : SARN_ERR_NOTHING_CHANGED;
}
