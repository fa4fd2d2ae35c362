#include "tests/platform/support.h"

#include <dlfcn.h>
#include <stdarg.h>
#include <sys/syscall.h>
#include <time.h>

int32_t write_as(sarn::Type type, void *handle, sarn::Field field, int32_t row, const Value &value) {
    const char *table = sarn::table_of(field).name, *name = sarn::spec_of(field).name;
    switch (type) {
        case sarn::Type::Ascii: return kora_set_ascii(handle, table, row, name, value.text);
        case sarn::Type::String: return kora_set_string(handle, table, row, name, value.text);
        case sarn::Type::Enum: return kora_set_enum(handle, table, row, name, value.text);
        case sarn::Type::Bool: return kora_set_bool(handle, table, row, name, value.flag);
        case sarn::Type::Int: return kora_set_int(handle, table, row, name, static_cast<int32_t>(value.number));
        case sarn::Type::Uint: return kora_set_uint(handle, table, row, name, value.number);
        case sarn::Type::Mac: return kora_set_mac(handle, table, row, name, value.bytes);
        case sarn::Type::Ipv4: return kora_set_ipv4(handle, table, row, name, value.bytes);
    }
    return -1;
}

namespace {

// -1 when this call is the one that fails.
template <class... Arguments>
long forward(char letter, long number, Arguments... arguments) {
    if (faults::trace != nullptr) *faults::trace += letter;
    if (faults::meanwhile_at == letter) {
        faults::meanwhile_at = '\0';
        faults::meanwhile();
    }
    if (faults::calls_until > 0 && --faults::calls_until == 0) {
        faults::calls_until = -1;
        if (faults::is_killing) kill(getpid(), SIGKILL);
        errno = EIO;
        return -1;
    }
    return syscall(number, arguments...);
}

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

int open(const char *name, int flags, ...) {
    if (name == faults::removed_name) faults::removed_name.clear(), unlink(name);
    return static_cast<int>(syscall(SYS_openat, AT_FDCWD, name, flags, 0660));
}

int openat(int folder, const char *name, int flags, ...) {
    va_list values;
    va_start(values, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(values, mode_t) : 0;
    va_end(values);
    if ((flags & O_ACCMODE) == O_RDONLY && (errno = faults::read_error) != 0) return -1;
    if ((flags & O_CREAT) == 0) return static_cast<int>(syscall(SYS_openat, folder, name, flags, mode));
    return static_cast<int>(forward('o', SYS_openat, folder, name, flags, mode));
}

ssize_t write(int fd, const void *bytes, size_t size) {
    // By halves, so that a cut in the middle is one of the states.
    return forward('w', SYS_write, fd, bytes, faults::calls_until > 0 && size > 1 ? size / 2 : size);
}

int mkdir(const char *name, mode_t mode) noexcept {
    return static_cast<int>(forward('d', SYS_mkdirat, AT_FDCWD, name, mode));
}
int fsync(int fd) { return static_cast<int>(forward('s', SYS_fsync, fd)); }
int fchmod(int fd, mode_t mode) { return static_cast<int>(forward('c', SYS_fchmod, fd, mode)); }

int fallocate(int fd, int mode, off_t at, off_t size) {
    static const auto real = reinterpret_cast<decltype(&fallocate)>(dlsym(RTLD_NEXT, "fallocate"));
    if (!faults::is_without_room) return real(fd, mode, at, size);
    errno = EOPNOTSUPP;
    return -1;
}
int posix_fallocate(int fd, off_t at, off_t size) { return fallocate(fd, 0, at, size) == 0 ? 0 : errno; }

int renameat(int from, const char *name, int to, const char *other) {
    return static_cast<int>(forward('m', SYS_renameat, from, name, to, other));
}
}
