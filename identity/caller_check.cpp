#include "identity/caller_check.h"

#include "core/log.h"
#include "core/producer_id.h"

namespace sarn {

int32_t check_identity_caller(int32_t producer_id) {
    if (!is_initialised()) {
        SARN_LOG(LibraryNotInitialised);
        return SARN_ERR_NOT_INITIALISED;
    }
    const int32_t accepted = check_producer_id(producer_id);
    if (accepted != SARN_OK) SARN_LOG(ProducerRefused, accepted);
    return accepted;
}

}  // namespace sarn
