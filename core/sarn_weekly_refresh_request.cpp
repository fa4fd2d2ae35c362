// Asks for a forced refresh of what is known of the devices, when the Internet is there and none is running.
#include <string.h>

#include "core/store.h"

int32_t sarn_weekly_refresh_request(void) {
    using namespace sarn;
    const Exclusive hold(state_lock);
    if (!is_store_open()) return SARN_ERR_NOT_INITIALISED;

    char internet[8];
    read_text_or_empty(Field::general_Internetstatus, SINGLE_ROW, internet);
    if (strcmp(internet, "down") == 0 || strcmp(internet, "unknown") == 0) return SARN_ERR_INTERNET_DOWN;

    char progress[8];
    read_text_or_empty(Field::sarngeneral_RefreshComplete, SINGLE_ROW, progress);
    if (strcmp(progress, "going") == 0 || strcmp(progress, "GOING") == 0) return SARN_REFRESH_RUNNING;

    (void)write_text(Field::sarngeneral_WeeklyRefreshType, SINGLE_ROW, "forced");
    return SARN_OK;
}
