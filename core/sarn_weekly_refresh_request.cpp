// Asks for a forced refresh of what is known of the devices, when the Internet is there and none is running.
#include "core/bounded_text.h"
#include "core/store.h"

int32_t sarn_weekly_refresh_request(void) {
    using namespace sarn;
    const Exclusive hold(state_lock);
    if (!is_store_open()) return SARN_ERR_NOT_INITIALISED;

    char internet[8];
    read_text_or_empty(Field::general_Internetstatus, SINGLE_ROW, internet);
    if (is_one_of(internet, "down", "unknown")) return SARN_ERR_INTERNET_DOWN;

    char progress[8];
    read_text_or_empty(Field::sarngeneral_RefreshComplete, SINGLE_ROW, progress);
    if (is_one_of(progress, "going", "GOING")) return SARN_REFRESH_RUNNING;

    (void)write_text(Field::sarngeneral_WeeklyRefreshType, SINGLE_ROW, "forced");
    return SARN_OK;
}
