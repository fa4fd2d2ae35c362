// Starting the library in a process; the first one since the store came up also removes duplicate rows.
#include "core/call.h"
#include "core/duplicate_rows.h"
#include "core/fork_guard.h"
#include "core/group.h"
#include "core/log.h"
#include "core/mapping_table.h"
#include "core/offline_cleanup.h"
#include "core/store.h"

namespace sarn {

namespace {

bool is_first_start_awaited() SARN_REQUIRES(state_lock) {
    return holds_word(Field::sarngeneral_MappingComplete, SINGLE_ROW, "init");
}

// True when this process is the first one since the store came up; from then on it is no longer.
bool claim_first_start() SARN_REQUIRES(state_lock) {
    if (!is_first_start_awaited()) return false;
    SARN_LOG(DuplicatePassBegins, "sarn_init", __LINE__);
    return write_group([&]() SARN_REQUIRES(state_lock) {
               // Of several processes that start at once, one alone goes on.
               if (has_groups() && !is_first_start_awaited()) return false;
               (void)write_text(Field::sarngeneral_MappingComplete, SINGLE_ROW, "going");
               return true;
           }) != GroupEnd::Dropped;
}

// When the rows in use cannot be told, the pass stays unfinished for good: a later start does not take it up.
void finish_first_start() SARN_REQUIRES(state_lock) {
    if (inuse_count > 0) {
        RowBitmap in_use = {};
        if (sarn_table_enquiry_locked(in_use, SARN_BITMAP_WORDS) != SARN_OK) return;
        remove_duplicate_rows(in_use);
    }
    (void)write_text(Field::sarngeneral_MappingComplete, SINGLE_ROW, "done");
}

}  // namespace

}  // namespace sarn

int32_t sarn_init(void) {
    using namespace sarn;
    load_unwinder();
    const Exclusive hold(state_lock);
    if (initialised == 1) {
        SARN_LOG(AlreadyInitialised);
        return SARN_ERR_ALREADY_INITIALISED;
    }
    if (!open_store()) {
        SARN_LOG(StoreOpenFailed);
        return SARN_ERR_STORE_OPEN;
    }
    guard_forks();
    clear_all_rows();
    (void)init_mapping_table_locked();
    (void)create_mapping_table_locked();
    initialised = 1;
    if (claim_first_start()) finish_first_start();
    return clean_up_crowded_table();
}
