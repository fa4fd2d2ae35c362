#include "core/state.h"

#include <string.h>

#include "core/log.h"
#include "core/offline_cleanup.h"

int32_t producer = 0;
uint8_t mappingtablestatus = 1;
int32_t sig_thread_exit_status = 0;
int32_t dd_thread_exit_status = 0;

pthread_mutex_t mutex1 = PTHREAD_MUTEX_INITIALIZER;
pthread_mutex_t mutex2 = PTHREAD_MUTEX_INITIALIZER;
pthread_mutex_t mutex3 = PTHREAD_MUTEX_INITIALIZER;

int32_t __log_to_console = 1;
int32_t __log_level = 1;
int32_t __log_to_file = 0;
const char *__log_file_name = "/tmp/sarnlog";

namespace sarn {

StateLock state_lock;

void *store_handle = nullptr;
int32_t initialised = 0;
int64_t last_sync_time = -1;
MappingRow mapping_table[ROW_COUNT];
uint32_t inuse_bitmap[SARN_BITMAP_WORDS];
uint32_t offline_bitmap[SARN_BITMAP_WORDS];
int32_t inuse_count = 0;

bool is_initialised() {
    const Shared hold(state_lock);
    return initialised == 1;
}

bool require_initialised() {
    if (initialised != 1) SARN_LOG(UnauthorizedAccess);
    return initialised == 1;
}

void clear_all_rows() {
    memset(inuse_bitmap, 0, sizeof inuse_bitmap);
    memset(offline_bitmap, 0, sizeof offline_bitmap);
    inuse_count = 0;
    clear_gc_candidates();
}

}  // namespace sarn
