#include "core/producer_id.h"

#include "core/log.h"
#include "include/sarn.h"

namespace sarn {

namespace {

constexpr int32_t HIGHEST_ID = 100;
constexpr int32_t ID_STEP = 10;

}  // namespace

int32_t check_producer_id(int32_t id) {
    if (id > HIGHEST_ID || id % ID_STEP != 0) return SARN_ERR_PRODUCER;
    // Workers of several calls meet here, and the host reads it.
    __atomic_store_n(&producer, id, __ATOMIC_RELAXED);
    SARN_LOG(ProducerAccepted, id);
    return SARN_OK;
}

}  // namespace sarn
