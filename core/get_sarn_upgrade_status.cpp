#include "core/store.h"

int32_t get_sarn_upgrade_status(uint8_t *status) {
    using namespace sarn;
    const Shared hold(state_lock);
    if (!require_initialised()) return SARN_ERR_NOT_INITIALISED;
    if (status == nullptr) return SARN_STORE_FAILED;
    return read_bool(Field::General_SARNTableupgradestatus, SINGLE_ROW, status) ? SARN_OK : SARN_STORE_FAILED;
}
