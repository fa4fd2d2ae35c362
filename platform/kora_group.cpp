#include "kora_group.h"

#include <pthread.h>

#include "kora.h"
#include "kora_open.h"
#include "kora_save.h"
#include "kora_transaction.h"
#include "kora_writer.h"

namespace kora {

constinit thread_local Group group;

namespace {

pthread_key_t thread_end;
bool is_watching = false;

// LMDB lets no one in this process write any more once a thread has ended with a transaction of its own.
void give_up_group(void *) {
    if (is_in_group()) (void)kora_end(const_cast<void *>(group.handle), 0);
}

Result begin_reading_group(void *handle) {
    look_after_file(handle);
    Result why_not = DONE;
    Reader *reader = enter_snapshot(handle, why_not);
    if (reader == nullptr) return why_not;
    group = {GroupMode::Reading, handle, reader, 0};
    return DONE;
}

// Until its first change a writing group looks at a snapshot, the same since nobody else writes: its cursors are there
// already, so a group that changes nothing allocates nothing, and its thread needs no allocator.
Reader *look_before_changes() {
    Reader &reader = take_writers_reader();
    if (begin_snapshot(environment, reader) == 0) return &reader;
    give_reader(reader);
    return nullptr;
}

Result begin_writing_group(void *handle) {
    if (!make_usable()) return FAILED;
    pthread_mutex_lock(&writing);
    const bool has_handle = is_open(handle);
    const int error = has_handle ? begin_writing() : 0;
    if (has_handle && error == 0) {
        group = {GroupMode::Writing, handle, look_before_changes(), 0};
        return DONE;
    }
    pthread_mutex_unlock(&writing);
    return has_handle ? report_writing({error}) : REFUSED;
}

Result end_reading_group(const Group &ended) {
    leave_snapshot(*ended.reader);
    (void)report_reading(ended.read_error);
    return DONE;
}

Result end_writing_group(const Group &ended, bool is_kept) {
    if (ended.reader != nullptr) leave_snapshot(*ended.reader);
    const WriteEnd end = end_writing(is_kept);
    pthread_mutex_unlock(&writing);
    (void)report_reading(ended.read_error);
    // Given up without an error, it does not show that writing works again.
    const Result result = is_kept || end.error != 0 ? report_writing(end) : DONE;
    if (end.is_save_due) save_by_itself(ended.handle);
    return is_kept ? result : DONE;
}

}  // namespace

bool watch_threads() {
    if (!is_watching) is_watching = pthread_key_create(&thread_end, give_up_group) == 0;
    return is_watching;
}

}  // namespace kora

using namespace kora;

extern "C" int32_t kora_begin(void *handle, int32_t mode) {
    if (is_in_group() || (mode != KORA_READING && mode != KORA_WRITING) || !is_open(handle)) return REFUSED;
    // Any value but null makes the thread's end be told.
    if (pthread_setspecific(thread_end, &group) != 0) return FAILED;
    return mode == KORA_READING ? begin_reading_group(handle) : begin_writing_group(handle);
}

extern "C" int32_t kora_end(void *handle, int32_t keep) {
    if (!is_in_group() || handle != group.handle) return REFUSED;
    const Group ended = group;
    group = Group{};
    if (ended.mode == GroupMode::Reading) return end_reading_group(ended);
    // Closed meanwhile by another thread: what came after that was refused, so the group would not be whole.
    const bool is_whole = is_open(handle);
    const Result result = end_writing_group(ended, keep != 0 && is_whole);
    return keep != 0 && !is_whole ? REFUSED : result;
}
