#include "kora_open.h"

#include <string.h>

#include <atomic>

#include "kora.h"
#include "kora_pool.h"

namespace kora {

pthread_mutex_t writing = PTHREAD_MUTEX_INITIALIZER;
Environment environment;

namespace {

constexpr uintptr_t HANDLE_MAX = 64;

// Guards all that follows but for what is atomic.
pthread_mutex_t opening = PTHREAD_MUTEX_INITIALIZER;
StorePath store_path;
std::atomic<uintptr_t> handles[HANDLE_MAX];  // each the handle that is open in this place, or 0
uintptr_t next_serial = 1;
uint32_t handle_count = 0;
bool is_watching_fork = false;

// The environment was open when this process was forked off and has to be opened anew.
std::atomic<bool> is_inherited{false};

void lock_before_fork() { pthread_mutex_lock(&opening); }
void unlock_after_fork() { pthread_mutex_unlock(&opening); }

// Other threads of the parent may have held readers and `writing`; none of them exists here.
void start_over_in_child() {
    pthread_mutex_init(&writing, nullptr);
    forget_all_readers();
    forget_environment(environment);
    is_inherited.store(handle_count > 0, std::memory_order_relaxed);
    pthread_mutex_unlock(&opening);
}

// With `opening` held.
bool open_store(Refusal &out_why) {
    if (!is_watching_fork && pthread_atfork(lock_before_fork, unlock_after_fork, start_over_in_child) != 0) {
        return refuse(out_why, "store %.300s: no memory", store_path.text);
    }
    is_watching_fork = true;
    if (!open_environment(store_path, environment, out_why)) return false;
    is_inherited.store(false, std::memory_order_release);
    return true;
}

// With `opening` held, and the last handle closed.
void close_store() {
    end_all_readers();
    const Lock lock(writing);
    if (environment.lmdb != nullptr) close_environment(store_path, environment);
    is_inherited.store(false, std::memory_order_relaxed);
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
    store_path = wanted;
    if (environment.lmdb == nullptr && !open_store(out_why)) return 0;
    const uintptr_t handle = add_handle();
    if (handle == 0) refuse(out_why, "store %.300s: opened too often in this process", store_path.text);
    return handle;
}

}  // namespace

bool is_open(const void *handle) {
    const auto number = reinterpret_cast<uintptr_t>(handle);
    return number != 0 && handles[number % HANDLE_MAX].load(std::memory_order_acquire) == number;
}

bool is_usable() {
    if (!is_inherited.load(std::memory_order_acquire)) return true;
    static std::atomic<bool> is_logged{false};
    Refusal why;
    {
        const Lock lock(opening);
        if (!is_inherited.load(std::memory_order_relaxed) || open_store(why)) return true;
    }
    if (!is_logged.exchange(true)) log_refusal(why);
    return false;
}

}  // namespace kora

extern "C" void *kora_init_ex(void *reserved) {
    kora::Refusal why;
    if (reserved != nullptr) {
        kora::refuse(why, "kora_init_ex takes nothing but null");
    } else if (const uintptr_t handle = kora::open_handle(why)) {
        return reinterpret_cast<void *>(handle);
    }
    kora::log_refusal(why);
    return nullptr;
}

extern "C" int32_t kora_destroy(void *handle) {
    const kora::Lock lock(kora::opening);
    if (!kora::is_open(handle)) return kora::REFUSED;
    kora::handles[reinterpret_cast<uintptr_t>(handle) % kora::HANDLE_MAX].store(0, std::memory_order_release);
    if (--kora::handle_count == 0) kora::close_store();
    return kora::DONE;
}
