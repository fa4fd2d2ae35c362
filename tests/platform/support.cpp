#include "tests/platform/support.h"

#include <sched.h>
#include <stdarg.h>
#include <sys/mount.h>
#include <sys/syscall.h>
#include <time.h>

using sarn::Type;

Value make_value(Type type, uint8_t seed) {
    switch (type) {
        case Type::Bool: return {.flag = 1};
        case Type::Int: return {.number = 0U - seed};
        case Type::Uint: return {.number = seed};
        case Type::Mac: return {.bytes = {seed, 2, 3, 4, 5, 6}};
        case Type::Ipv4: return {.bytes = {seed, 2, 3, 4}};
        default: return {.text = {'t', static_cast<char>(seed)}};
    }
}

int32_t write_any(void *handle, sarn::Field field, int32_t row, const Value &value) {
    const char *table = sarn::table_of(field).name, *name = sarn::spec_of(field).name;
    switch (sarn::spec_of(field).type) {
        case Type::Ascii: return kora_set_ascii(handle, table, row, name, value.text);
        case Type::String: return kora_set_string(handle, table, row, name, value.text);
        case Type::Enum: return kora_set_enum(handle, table, row, name, value.text);
        case Type::Bool: return kora_set_bool(handle, table, row, name, value.flag);
        case Type::Int: return kora_set_int(handle, table, row, name, static_cast<int32_t>(value.number));
        case Type::Uint: return kora_set_uint(handle, table, row, name, value.number);
        case Type::Mac: return kora_set_mac(handle, table, row, name, value.bytes);
        case Type::Ipv4: return kora_set_ipv4(handle, table, row, name, value.bytes);
    }
    return -1;
}

namespace {

void meet(char letter) {
    if (faults::meanwhile_at != letter) return;
    faults::meanwhile_at = '\0';
    faults::meanwhile();
}

// -1 when this call is the one that fails.
long forward(char letter, long number, long one = 0, long two = 0, long three = 0, long four = 0) {
    if (faults::trace != nullptr) *faults::trace += letter;
    meet(letter);
    if (faults::calls_until > 0 && --faults::calls_until == 0) {
        faults::calls_until = -1;
        if (faults::is_killing) kill(getpid(), SIGKILL);
        errno = EIO;
        return -1;
    }
    return syscall(number, one, two, three, four);
}

long address(const void *pointer) { return reinterpret_cast<long>(pointer); }

}  // namespace

extern "C" {

int clock_gettime(clockid_t clock, timespec *now) {
    const long result = syscall(SYS_clock_gettime, clock, now);
    if (clock == CLOCK_MONOTONIC) now->tv_sec += faults::seconds_later;
    return static_cast<int>(result);
}

#ifndef __SANITIZE_THREAD__  // which asks before it is ready for a function that it watches
long __sysconf(int name);    // as glibc calls its own

long sysconf(int name) noexcept {
    return name == _SC_PAGESIZE && faults::page_size != 0 ? faults::page_size : __sysconf(name);
}
#endif

int openat(int folder, const char *name, int flags, ...) {
    va_list values;
    va_start(values, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(values, mode_t) : 0;
    va_end(values);
    if ((flags & O_ACCMODE) == O_RDONLY && (errno = faults::read_error) != 0) return -1;
    if ((flags & O_CREAT) == 0) return static_cast<int>(syscall(SYS_openat, folder, name, flags, mode));
    return static_cast<int>(forward('o', SYS_openat, folder, address(name), flags, mode));
}

ssize_t write(int fd, const void *bytes, size_t size) {
    // By halves, so that a cut in the middle is one of the states.
    const size_t half = faults::calls_until > 0 && size > 1 ? size / 2 : size;
    const ssize_t written = forward('w', SYS_write, fd, address(bytes), static_cast<long>(half));
    if (written > 0) faults::bytes_written += static_cast<size_t>(written);
    return written;
}

int mkdir(const char *name, mode_t mode) noexcept {
    meet('d');
    return static_cast<int>(syscall(SYS_mkdirat, AT_FDCWD, name, mode));
}

int fsync(int fd) { return static_cast<int>(forward('s', SYS_fsync, fd)); }

int fchmod(int fd, mode_t mode) { return static_cast<int>(forward('c', SYS_fchmod, fd, mode)); }

int renameat(int from, const char *name, int to, const char *other) {
    return static_cast<int>(forward('m', SYS_renameat, from, address(name), to, address(other)));
}
}

int have_own_mounts() {
    if (unshare(CLONE_NEWNS) == 0 && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0) return 0;
    return errno == EPERM || errno == EACCES ? NOT_ALLOWED : 2;
}
