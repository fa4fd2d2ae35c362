#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <pthread.h>
#include <signal.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include "kora.h"
#include "kora_descriptors.h"
#include "kora_folder.h"

// The controls belong to libsarn; a process without it when this library is loaded logs everything to the console.
extern "C" {
extern int32_t __log_to_console __attribute__((weak));
extern int32_t __log_level __attribute__((weak));
extern int32_t __log_to_file __attribute__((weak));
extern const char *__log_file_name __attribute__((weak));
}

namespace {

// Longer messages are cut: a client chooses how long its texts are, and the stack of a worker thread is finite.
constexpr size_t MESSAGE_MAX = 2048;
constexpr size_t LINE_MAX_BYTES = 4096;
constexpr char CUT_MARK[] = "...\n";
constexpr mode_t LOG_FILE_MODE = 0640;

struct Line {
    char bytes[LINE_MAX_BYTES];
    size_t length = 0;

    bool append(const char *text, size_t size) {
        if (size > sizeof bytes - sizeof CUT_MARK - length) return false;
        memcpy(bytes + length, text, size);
        length += size;
        return true;
    }
};

bool is_continuation(uint8_t byte) { return (byte & 0xc0) == 0x80; }

// Length of the well-formed UTF-8 character at `text`, which may be shown as it is; 0 for a byte that may not: control
// characters (those of U+0080 to U+009F too, which terminals obey), overlong forms, surrogates, stray bytes. The text
// ends in a NUL, which is no continuation byte, so nothing past it is read.
size_t printable_length(const uint8_t *text) {
    const uint8_t first = text[0];
    if (first < 0x80) return first >= 0x20 && first != 0x7f ? 1 : 0;
    if (first < 0xc2 || first > 0xf4 || !is_continuation(text[1])) return 0;
    if (first < 0xe0) return first == 0xc2 && text[1] < 0xa0 ? 0 : 2;
    if (!is_continuation(text[2])) return 0;
    if (first < 0xf0) {
        const bool overlong = first == 0xe0 && text[1] < 0xa0;
        const bool surrogate = first == 0xed && text[1] > 0x9f;
        return overlong || surrogate ? 0 : 3;
    }
    const bool overlong = first == 0xf0 && text[1] < 0x90;
    const bool out_of_range = first == 0xf4 && text[1] > 0x8f;
    return overlong || out_of_range || !is_continuation(text[3]) ? 0 : 4;
}

// False when the line is full. The backslash is escaped as well, so that a client cannot write an escape of its own.
bool append_escaped(Line &line, const char *message) {
    constexpr char DIGITS[] = "0123456789abcdef";
    while (*message != '\0') {
        const auto byte = static_cast<uint8_t>(*message);
        const size_t length = printable_length(reinterpret_cast<const uint8_t *>(message));
        if (byte == '\\') {
            if (!line.append("\\\\", 2)) return false;
        } else if (length > 0) {
            if (!line.append(message, length)) return false;
        } else {
            const char escape[] = {'\\', 'x', DIGITS[byte >> 4], DIGITS[byte & 0xf]};
            if (!line.append(escape, sizeof escape)) return false;
        }
        message += length > 0 ? length : 1;
    }
    return true;
}

void cut_line_end(char *message) {
    size_t length = strlen(message);
    while (length > 0 && (message[length - 1] == '\n' || message[length - 1] == '\r')) --length;
    message[length] = '\0';
}

// The kernel sends a signal to the thread whose write finds no reader, or would pass the process's limit of a file's
// size. A log line is no reason to end the process.
class WriteSignals {
public:
    WriteSignals() {
        sigset_t held_off;
        sigemptyset(&held_off);
        sigaddset(&held_off, SIGPIPE);
        sigaddset(&held_off, SIGXFSZ);
        sigpending(&pending_);
        pthread_sigmask(SIG_BLOCK, &held_off, &before_);
    }
    ~WriteSignals() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    WriteSignals(const WriteSignals &) = delete;
    WriteSignals &operator=(const WriteSignals &) = delete;

    // One that was there before is the host's.
    void take_back(int signal) const {
        constexpr timespec AT_ONCE = {};
        sigset_t own;
        sigemptyset(&own);
        sigaddset(&own, signal);
        if (sigismember(&pending_, signal) == 0) sigtimedwait(&own, nullptr, &AT_ONCE);
    }

private:
    sigset_t pending_ = {}, before_ = {};
};

// One write a line, so that lines of several threads and processes do not mix. A log that cannot be written is no
// reason to fail the call that logs.
void write_line(int fd, const Line &line) {
    const WriteSignals signals;
    while (write(fd, line.bytes, line.length) < 0) {
        if (errno == EPIPE) signals.take_back(SIGPIPE);
        if (errno == EFBIG) signals.take_back(SIGXFSZ);
        if (errno != EINTR) return;
    }
}

bool is_owner_trusted(const char *name, const struct stat &file) {
    char folder[PATH_MAX];
    struct stat status;
    const char *slash = strrchr(name, '/');
    const int length = slash != nullptr ? static_cast<int>(slash - name) : 0;
    snprintf(folder, sizeof folder, "%.*s%s", length, name, slash != nullptr ? "/" : ".");
    return stat(folder, &status) == 0 && kora::is_owner_trusted(status, file);
}

// The folder may be one that everyone may write: what another user laid there is left alone, and so is a pipe, or a
// file that has a second name somewhere.
bool may_be_written(int fd, const char *name) {
    struct stat file;
    return fstat(fd, &file) == 0 && is_owner_trusted(name, file) &&
           (S_ISCHR(file.st_mode) || (S_ISREG(file.st_mode) && file.st_nlink == 1));
}

void write_to_file(const Line &line) {
    const char *name = &__log_file_name != nullptr ? __log_file_name : nullptr;
    if (name == nullptr) return;
    // Never through a link, never waiting on a pipe's reader.
    const int flags = O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    const kora::Descriptor file(open(name, flags, LOG_FILE_MODE));
    if (may_be_written(file.fd, name)) write_line(file.fd, line);
}

}  // namespace

extern "C" void log_printf(int32_t level, const char *file, int32_t line_number, const char *format, ...) {
    const bool to_console = &__log_to_console == nullptr || __log_to_console != 0;
    const bool to_file = &__log_to_file != nullptr && __atomic_load_n(&__log_to_file, __ATOMIC_ACQUIRE) != 0;
    const bool is_shown = &__log_level == nullptr || level >= __log_level;
    if (format == nullptr || !is_shown || (!to_console && !to_file)) return;

    const int saved_errno = errno;
    char message[MESSAGE_MAX];
    va_list values;
    va_start(values, format);
    const int wanted = vsnprintf(message, sizeof message, format, values);
    va_end(values);
    if (wanted < 0) message[0] = '\0';
    bool is_whole = wanted < static_cast<int>(sizeof message);
    if (is_whole) cut_line_end(message);

    char place[16];
    Line line;
    line.length = static_cast<size_t>(snprintf(line.bytes, sizeof line.bytes, "%d ", level));
    const int place_length = snprintf(place, sizeof place, ":%d ", line_number);
    is_whole &= append_escaped(line, file != nullptr ? file : "?") &&
                line.append(place, static_cast<size_t>(place_length)) && append_escaped(line, message);
    const char *end = is_whole ? "\n" : CUT_MARK;
    memcpy(line.bytes + line.length, end, strlen(end));
    line.length += strlen(end);

    if (to_console) write_line(STDERR_FILENO, line);
    if (to_file) write_to_file(line);
    errno = saved_errno;
}
