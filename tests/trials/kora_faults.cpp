// The store functions of this program: each counts, meets the armed fault, and forwards to the platform's.
#include <dlfcn.h>
#include <errno.h>
#include <signal.h>
#include <stdlib.h>

#include "platform/kora.h"
#include "tests/trials/trial.h"

namespace {

using namespace trial;

// Only the process that armed a fault meets it.
bool is_armed = false;

template <class Function>
Function *next(const char *name) {
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

void end_or_stop(Fault wanted, int position) {
    if (control->fault != wanted || control->armed_at != position) return;
    control->has_fired = true;
    raise(wanted == Fault::StopBefore ? SIGSTOP : SIGKILL);
}

bool is_to_fail(int position) {
    const bool is_hit = (control->fault == Fault::FailOnce && position == control->armed_at) ||
                        (control->fault == Fault::FailEver && position >= control->armed_at);
    if (is_hit) control->has_fired = true;
    return is_hit;
}

template <class Operation>
int32_t pass(Operation operation) {
    if (!is_armed) return operation();
    const int position = ++control->position;  // another thread may go on counting
    end_or_stop(Fault::KillBefore, position);
    end_or_stop(Fault::StopBefore, position);
    if (is_to_fail(position)) return -1;
    const int32_t result = operation();
    end_or_stop(Fault::KillAfter, position);
    return result;
}

}  // namespace

void trial::arm(Fault fault, int position) {
    control->position = 0;
    control->armed_at = position;
    control->has_fired = false;
    control->is_writing_group = false;
    control->fault = fault;
    is_armed = true;
}

void trial::disarm() { is_armed = false; }

// The sanitizers have allocators of their own.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
extern "C" {
void *__libc_malloc(size_t);
void *__libc_calloc(size_t, size_t);
void *__libc_realloc(void *, size_t);
}

namespace {

bool is_memory_short() {
    if (!is_armed || control->allocation_to_fail <= 0) return false;
    if (control->allocation_to_fail > 1) return --control->allocation_to_fail, false;
    if (!control->fail_later_allocations) control->allocation_to_fail = 0;
    control->has_fired = true;
    errno = ENOMEM;
    return true;
}

}  // namespace

// The trial's own containers are not to fail.
void *operator new(size_t size) { return __libc_malloc(size); }
void operator delete(void *memory) noexcept { free(memory); }
void operator delete(void *memory, size_t) noexcept { free(memory); }

extern "C" {
void *malloc(size_t size) noexcept { return is_memory_short() ? nullptr : __libc_malloc(size); }
void *calloc(size_t count, size_t size) noexcept { return is_memory_short() ? nullptr : __libc_calloc(count, size); }
void *realloc(void *memory, size_t size) noexcept { return is_memory_short() ? nullptr : __libc_realloc(memory, size); }
}
#endif

#define FORWARDED(name, parameters, ...)                       \
    int32_t name parameters {                                  \
        static auto *const real = next<decltype(name)>(#name); \
        return pass([&] { return real(__VA_ARGS__); });        \
    }
#define READ(name, type) \
    FORWARDED(name, (void *h, const char *t, int32_t row, const char *f, type value), h, t, row, f, value)
#define READ_TEXT(name)                                                                                           \
    FORWARDED(name, (void *h, const char *t, int32_t row, const char *f, char *text, int32_t size), h, t, row, f, \
              text, size)

extern "C" {

READ_TEXT(kora_get_ascii)
READ_TEXT(kora_get_string)
READ_TEXT(kora_get_enum)
READ(kora_get_bool, uint8_t *)
READ(kora_get_uint, uint32_t *)
READ(kora_get_mac, uint8_t *)
READ(kora_get_ipv4, uint8_t *)
READ(kora_set_ascii, const char *)
READ(kora_set_string, const char *)
READ(kora_set_enum, const char *)
READ(kora_set_bool, int32_t)
READ(kora_set_int, int32_t)
READ(kora_set_uint, uint32_t)
READ(kora_set_mac, const uint8_t *)
READ(kora_set_ipv4, const uint8_t *)
FORWARDED(kora_changes, (void *h, uint64_t *number), h, number)

int32_t kora_begin(void *handle, int32_t mode) {
    static auto *const real = next<decltype(kora_begin)>("kora_begin");
    const int32_t result = pass([&] { return real(handle, mode); });
    if (is_armed && result == 0 && mode == KORA_WRITING) control->is_writing_group = true;
    return result;
}

int32_t kora_end(void *handle, int32_t keep) {
    static auto *const real = next<decltype(kora_end)>("kora_end");
    bool is_forwarded = false;
    const int32_t result = pass([&] {
        is_forwarded = true;
        return real(handle, keep);
    });
    if (!is_forwarded) (void)real(handle, 0);  // a group that cannot be kept is over all the same
    if (is_armed) control->is_writing_group = false;
    return result;
}
}
