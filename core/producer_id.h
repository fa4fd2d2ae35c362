#ifndef SARN_CORE_PRODUCER_ID_H
#define SARN_CORE_PRODUCER_ID_H

#include <stdint.h>

namespace sarn {

// SARN_OK for 0 and the multiples of ten up to 100, negative ones too, and remembers the id in `producer`;
// SARN_ERR_PRODUCER otherwise.
int32_t check_producer_id(int32_t id);

}  // namespace sarn

#endif
