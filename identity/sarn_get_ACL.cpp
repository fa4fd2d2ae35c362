#include "core/store.h"

int32_t sarn_get_ACL(void) {
    using namespace sarn;
    const Shared hold(state_lock);
    if (!require_initialised()) return SARN_ERR_NOT_INITIALISED;
    uint8_t is_enabled = 0;
    if (!read_bool(Field::FeatureCfg_ACLEnable, SINGLE_ROW, &is_enabled)) return SARN_ERR_ACL_READ;
    return is_enabled != 0 ? 1 : 0;
}
