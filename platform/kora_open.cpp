#include "kora_open.h"

#include <errno.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>

#include <atomic>

#include "kora.h"
#include "kora_changes.h"
#include "kora_group.h"
#include "kora_pool.h"
#include "kora_save.h"
#include "kora_writer.h"

namespace kora {

pthread_mutex_t writing = PTHREAD_MUTEX_INITIALIZER;
Environment environment;
std::atomic<uintptr_t> handles[HANDLE_MAX];

namespace {

// Guards all that follows but for what is atomic.
pthread_mutex_t opening = PTHREAD_MUTEX_INITIALIZER;
StorePath store_path;
uintptr_t next_serial = 1;
uint32_t handle_count = 0;
bool is_watching_fork = false;

// Handles are open, but the environment is not: this process was just forked off, or its file is gone and could not be
// opened again.
std::atomic<bool> is_to_be_opened{false};
std::atomic<bool> is_failure_logged{false};

void lock_before_fork() {
    pthread_mutex_lock(&opening);
    lock_save_for_fork();
}

void unlock_after_fork() {
    unlock_save_after_fork();
    pthread_mutex_unlock(&opening);
}

// Other threads of the parent may have held readers and `writing`; none of them exists here.
void start_over_in_child() {
    pthread_mutex_init(&writing, nullptr);
    group = Group{};
    writer = Writer{};
    forget_all_readers();
    leave_environment_to_parent(environment);
    forget_save();
    is_to_be_opened.store(handle_count > 0, std::memory_order_relaxed);
    pthread_mutex_unlock(&opening);
}

bool watch_process(Refusal &out_why) {
    is_watching_fork =
        is_watching_fork || pthread_atfork(lock_before_fork, unlock_after_fork, start_over_in_child) == 0;
    return (is_watching_fork && watch_threads()) || refuse(out_why, "store %.300s: no memory", store_path.text);
}

// With `opening`, `writing` and all readers held.
bool open_store(Refusal &out_why) {
    if (environment.lmdb != nullptr) close_environment(store_path, environment);
    forget_change_number();
    const bool is_opened = watch_process(out_why) && open_environment(store_path, environment, out_why);
    is_to_be_opened.store(!is_opened && handle_count > 0, std::memory_order_release);
    if (is_opened) is_failure_logged.store(false, std::memory_order_relaxed);
    return is_opened;
}

// With `opening` held, and the last handle closed.
void close_store() {
    const Lock lock(writing);
    const AllReaders readers(true);
    if (environment.lmdb != nullptr) close_environment(store_path, environment);
    is_to_be_opened.store(false, std::memory_order_relaxed);
}

// True at most once in a tick of the coarse clock, some milliseconds: looking takes longer than an operation does.
bool claim_look() {
    static std::atomic<int64_t> last{0};
    timespec now;
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    const int64_t tick = now.tv_sec * int64_t{1'000'000'000} + now.tv_nsec;
    return last.load(std::memory_order_relaxed) != tick && last.exchange(tick, std::memory_order_relaxed) != tick;
}

// With a reader or `opening` held. A name that cannot be looked up for a moment tells nothing.
bool is_in_place() {
    struct stat named;
    if (environment.lmdb == nullptr) return true;
    if (stat(store_path.text, &named) != 0) return errno != ENOENT && errno != ENOTDIR;
    return is_same_file(named, environment.file);
}

bool is_replaced(const void *handle) {
    Reader &reader = take_reader();
    const bool is_replaced = is_open(handle) && !is_in_place();
    give_reader(reader);
    return is_replaced;
}

// With `opening` held.
void note_reopening(bool is_opened, Refusal &out_found) {
    const char *outcome = is_opened ? "; opened again" : "";
    note(out_found, "store %.300s: removed or replaced while it was open%s", store_path.text, outcome);
    if (!is_opened) is_failure_logged.store(true, std::memory_order_relaxed);
}

// With `opening` held; 0 when there is no place left.
uintptr_t add_handle() {
    for (uintptr_t place = 0; place < HANDLE_MAX; ++place) {
        if (handles[place].load(std::memory_order_relaxed) != 0) continue;
        const uintptr_t handle = next_serial++ * HANDLE_MAX + place;
        handles[place].store(handle, std::memory_order_release);
        ++handle_count;
        return handle;
    }
    return 0;
}

uintptr_t open_handle(Refusal &out_why) {
    const Lock lock(opening);
    StorePath wanted;
    if (!read_store_path(wanted, out_why)) return 0;
    if (handle_count > 0 && strcmp(wanted.text, store_path.text) != 0) {
        refuse(out_why, "store %.200s: this process has %.200s open", wanted.text, store_path.text);
        return 0;
    }
    if (handle_count == 0) {
        const bool is_same_store = strcmp(wanted.text, store_path.text) == 0;
        store_path = wanted;
        choose_saved_copy(store_path, is_same_store, out_why);
    }
    if (environment.lmdb == nullptr) {
        const Lock no_writer(writing);
        const AllReaders readers(true);
        if (!open_store(out_why)) return 0;
    }
    const uintptr_t handle = add_handle();
    if (handle == 0) refuse(out_why, "store %.300s: opened too often in this process", store_path.text);
    return handle;
}

}  // namespace

bool make_usable() {
    if (!is_to_be_opened.load(std::memory_order_acquire)) return true;
    Refusal why;
    bool is_opened = true;
    {
        const Lock lock(opening);
        if (is_to_be_opened.load(std::memory_order_relaxed)) {
            const Lock no_writer(writing);  // not long: without an environment none waits for another process
            const AllReaders readers(true);
            is_opened = open_store(why);
        }
    }
    if (is_opened || !is_failure_logged.exchange(true)) log_refusal(why);
    return is_opened;
}

void look_after_file(const void *handle) {
    if (!claim_look() || !is_replaced(handle) || pthread_mutex_trylock(&opening) != 0) return;
    Refusal found, why;
    const bool is_gone = handle_count > 0 && !is_in_place();
    if (is_gone && pthread_mutex_trylock(&writing) == 0) {
        if (const AllReaders readers(false); readers.are_held()) note_reopening(open_store(why), found);
        pthread_mutex_unlock(&writing);
    }
    pthread_mutex_unlock(&opening);
    log_refusal(found);
    log_refusal(why);
}

}  // namespace kora

extern "C" void *kora_init_ex(void *reserved) {
    kora::Refusal why;
    uintptr_t handle = 0;
    if (reserved != nullptr) {
        kora::refuse(why, "kora_init_ex takes nothing but null");
    } else if (kora::is_in_group()) {
        kora::refuse(why, "kora_init_ex inside a group");
    } else {
        handle = kora::open_handle(why);
    }
    kora::log_refusal(why);
    return reinterpret_cast<void *>(handle);  // NOLINT(performance-no-int-to-ptr): it is never followed
}

extern "C" int32_t kora_destroy(void *handle) {
    if (kora::is_in_group()) return kora::REFUSED;
    const kora::Lock lock(kora::opening);
    if (!kora::is_open(handle)) return kora::REFUSED;
    kora::handles[reinterpret_cast<uintptr_t>(handle) % kora::HANDLE_MAX].store(0, std::memory_order_release);
    if (--kora::handle_count == 0) kora::close_store();
    return kora::DONE;
}
