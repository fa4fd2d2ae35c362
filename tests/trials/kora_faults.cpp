// The store functions of this program: each meets the armed fault or forwards to the platform's.
#include <dlfcn.h>

#include "platform/kora.h"
#include "tests/trials/trial.h"

namespace {

using namespace trial;

// Of this process alone.
std::atomic<Fault> armed = Fault::None;
std::atomic<int> position = 0;
int armed_at = 0;

// Whether the n-th look at one of these two faults has come, n being where it is armed.
bool count_and_meet(Fault once, Fault ever) {
    if (armed != once && armed != ever) return false;
    const int now = ++position;
    if (now < armed_at || (armed == once && now > armed_at)) return false;
    control->has_fired = true;
    errno = ENOMEM;  // as who allocates may read it
    return true;
}

// Kills or stops the process if that is armed for this operation; else whether the operation is to fail.
bool meet_fault() {
    if (count_and_meet(Fault::Kill, Fault::Kill)) raise(SIGKILL);
    if (count_and_meet(Fault::Stop, Fault::Stop)) raise(SIGSTOP);
    return count_and_meet(Fault::FailOnce, Fault::FailEver);
}

template <class Function>
Function *next(const char *name) {
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

}  // namespace

void trial::arm(Fault fault, int at) {
    control->has_fired = false;
    control->is_writing_group = false;
    position = 0;
    armed_at = at;
    armed = fault;
}

void trial::disarm() { armed = Fault::None; }

#ifndef HAS_OTHER_ALLOCATOR
extern "C" {
void *__libc_malloc(size_t);
void *__libc_calloc(size_t, size_t);
void *__libc_realloc(void *, size_t);
}

static bool meet_memory_fault() { return count_and_meet(Fault::NoMemoryOnce, Fault::NoMemoryEver); }

// The trial's own containers are not to fail.
void *operator new(size_t size) { return __libc_malloc(size); }
void operator delete(void *memory) noexcept { free(memory); }
void operator delete(void *memory, size_t) noexcept { free(memory); }

extern "C" {
void *malloc(size_t size) noexcept { return meet_memory_fault() ? nullptr : __libc_malloc(size); }
void *calloc(size_t count, size_t size) noexcept { return meet_memory_fault() ? nullptr : __libc_calloc(count, size); }
void *realloc(void *memory, size_t size) noexcept {
    return meet_memory_fault() ? nullptr : __libc_realloc(memory, size);
}
}
#endif

#define FORWARDED(name, parameters, ...)                       \
    int32_t name parameters {                                  \
        static auto *const real = next<decltype(name)>(#name); \
        return meet_fault() ? -1 : real(__VA_ARGS__);          \
    }
#define VALUE(name, type) \
    FORWARDED(name, (void *h, const char *t, int32_t row, const char *f, type value), h, t, row, f, value)
#define TEXT(name)                                                                                                \
    FORWARDED(name, (void *h, const char *t, int32_t row, const char *f, char *text, int32_t size), h, t, row, f, \
              text, size)

extern "C" {

TEXT(kora_get_ascii)
TEXT(kora_get_string)
TEXT(kora_get_enum)
VALUE(kora_get_bool, uint8_t *)
VALUE(kora_get_uint, uint32_t *)
VALUE(kora_get_mac, uint8_t *)
VALUE(kora_get_ipv4, uint8_t *)
VALUE(kora_set_ascii, const char *)
VALUE(kora_set_string, const char *)
VALUE(kora_set_enum, const char *)
VALUE(kora_set_bool, int32_t)
VALUE(kora_set_int, int32_t)
VALUE(kora_set_uint, uint32_t)
VALUE(kora_set_mac, const uint8_t *)
VALUE(kora_set_ipv4, const uint8_t *)
FORWARDED(kora_changes, (void *h, uint64_t *number), h, number)

int32_t kora_begin(void *handle, int32_t mode) {
    static auto *const real = next<decltype(kora_begin)>("kora_begin");
    const int32_t result = meet_fault() ? -1 : real(handle, mode);
    if (armed != Fault::None && result == 0 && mode == KORA_WRITING) control->is_writing_group = true;
    return result;
}

// A group that cannot be kept is over all the same.
int32_t kora_end(void *handle, int32_t keep) {
    static auto *const real = next<decltype(kora_end)>("kora_end");
    const bool fails = meet_fault();
    const int32_t result = real(handle, fails ? 0 : keep);
    if (armed != Fault::None) control->is_writing_group = false;
    return fails ? -1 : result;
}
}
