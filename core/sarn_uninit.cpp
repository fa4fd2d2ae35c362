#include "core/log.h"
#include "core/store.h"

int32_t sarn_uninit(void) {
    using namespace sarn;
    const Exclusive hold(state_lock);
    if (initialised != 1) {
        SARN_LOG(LibraryNotInitialised);
        return SARN_ERR_NOT_INITIALISED;
    }
    close_store();
    initialised = 0;
    return SARN_OK;
}
