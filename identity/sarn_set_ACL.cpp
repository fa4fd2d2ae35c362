#include "core/store.h"

int32_t sarn_set_ACL(uint8_t enable) {
    using namespace sarn;
    const Exclusive hold(state_lock);
    if (!require_initialised()) return SARN_ERR_NOT_INITIALISED;
    return write_number(Field::FeatureCfg_ACLEnable, SINGLE_ROW, enable != 0 ? 1 : 0) ? SARN_OK : SARN_STORE_FAILED;
}
