#include "output.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "device_text.h"
#include "text_table.h"

namespace tool {

namespace {

constexpr size_t LEAST_COLUMNS = 80;

size_t terminal_columns() {
    winsize size = {};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return LEAST_COLUMNS;
    return std::max<size_t>(size.ws_col, LEAST_COLUMNS);
}

bool colour_is_wanted() {
    const char *refused = getenv("NO_COLOR");
    const char *terminal = getenv("TERM");
    return (refused == nullptr || *refused == '\0') && terminal != nullptr && std::strcmp(terminal, "dumb") != 0;
}

// After a failed write. Waits where the descriptor does not block; false when the write is not to be tried again.
bool wait_to_go_on(int descriptor) {
    static constexpr int FOR_EVER = -1;
    if (errno != EAGAIN) return errno == EINTR;
    pollfd awaited = {descriptor, POLLOUT, 0};
    return poll(&awaited, 1, FOR_EVER) > 0 || errno == EINTR;
}

bool write_all(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = write(descriptor, text.data(), text.size());
        if (written < 0 && !wait_to_go_on(descriptor)) return false;
        if (written > 0) text.remove_prefix(static_cast<size_t>(written));
    }
    return true;
}

}  // namespace

void occupy_standard_descriptors() {
    // Read-only, so that output to a closed descriptor still fails and is noticed.
    int descriptor = open("/dev/null", O_RDONLY);
    while (descriptor >= 0 && descriptor <= STDERR_FILENO) descriptor = open("/dev/null", O_RDONLY);
    if (descriptor >= 0) close(descriptor);
}

Output describe_standard_output() {
    if (isatty(STDOUT_FILENO) == 0) return {"", NO_LIMIT, false};
    return {"", terminal_columns(), colour_is_wanted()};
}

bool write_output(const Output &output) {
    if (output.text.empty()) return true;
    // Some file systems report a full disk only when the file is closed.
    if (write_all(STDOUT_FILENO, output.text) && close(STDOUT_FILENO) == 0) return true;
    print_message(std::string("cannot write the output: ") + strerror(errno));
    return false;
}

void print_message(std::string_view message) {
    (void)write_all(STDERR_FILENO, "sarn: " + escape_for_terminal(message) + "\n");
}

}  // namespace tool
