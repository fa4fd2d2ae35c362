// The upgrade flag; a first upgrade also moves the firmware switch on.
#include "core/bounded_text.h"
#include "core/store.h"

int32_t set_sarn_upgrade_status(uint8_t status) {
    using namespace sarn;
    const Exclusive hold(state_lock);
    if (!require_initialised()) return SARN_ERR_NOT_INITIALISED;
    uint8_t old_status = 0;
    char firmware_switch[8] = {};
    if (!read_bool(Field::General_SARNTableupgradestatus, SINGLE_ROW, &old_status) ||
        !write_number(Field::General_SARNTableupgradestatus, SINGLE_ROW, status) ||
        !read_text(Field::SarnFWupgrade_FWStatusswitch, SINGLE_ROW, firmware_switch, sizeof firmware_switch)) {
        return SARN_STORE_FAILED;
    }
    const bool is_initial = is_one_of(firmware_switch, "INIT", "init");
    if (old_status < status && is_initial) {
        (void)write_text(Field::SarnFWupgrade_FWStatusswitch, SINGLE_ROW, "switched");
    }
    return SARN_OK;
}
