// sarn status: how full the list is, where it is kept, who holds its writers up, and how the router's switches stand.
#include <signal.h>
#include <sys/stat.h>
#include <time.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "commands.h"
#include "device_text.h"
#include "json_text.h"
#include "kora.h"
#include "refusal.h"
#include "session.h"

namespace tool {

namespace {

struct Status {
    std::string store;
    int64_t size;
    size_t used;
    size_t up;
    size_t offline;
    bool access;
    bool upgrade;
    int32_t stuck_writer;  // a process; 0 for none
};

std::string store_path() {
    const char *named = secure_getenv("KORA_STORE");
    return named == nullptr || *named == '\0' ? KORA_DEFAULT_STORE : named;
}

int64_t size_of_file(const std::string &path) {
    struct stat file = {};
    if (stat(path.c_str(), &file) != 0)
        throw Refusal(EXIT_NO_STORE, "cannot read the size of the store " + path + ": " + strerror(errno));
    return file.st_size;
}

int32_t find_writer(void *store) {
    int32_t process = 0;
    return kora_writing_process(store, &process) == 0 ? process : 0;
}

// A writer is done in microseconds; one that is still there later was stopped. A dead one holds nobody up.
int32_t find_stuck_writer() {
    static constexpr timespec LONG_FOR_A_WRITE = {0, 200'000'000};
    void *store = kora_init_ex(nullptr);
    // The start would wait as long again for a folder that is locked, and tell it a second time.
    if (store == nullptr) throw refusal_of_start(SARN_ERR_STORE_OPEN);
    int32_t writer = find_writer(store);
    if (writer != 0) {
        nanosleep(&LONG_FOR_A_WRITE, nullptr);
        const bool is_dead = kill(writer, 0) != 0 && errno == ESRCH;
        if (is_dead || find_writer(store) != writer) writer = 0;
    }
    (void)kora_destroy(store);
    return writer;
}

std::string words_of_writer(int32_t process) {
    return "process " + std::to_string(process) + " does not go on; all that write wait until it does or is killed";
}

Status read_status() {
    const int32_t stuck_writer = find_stuck_writer();
    // Told at once: where the start has rows to free it waits for that very process.
    if (stuck_writer != 0) print_message(words_of_writer(stuck_writer));
    const Session session;
    Status status = {store_path(), 0, 0, 0, 0, session.is_access_control_on(), session.is_upgrade_on(), stuck_writer};
    status.size = size_of_file(status.store);
    for (const uint32_t row : session.rows_in_state(SARN_ROWS_IN_USE)) {
        const auto device = session.read_device_if_used(row);
        if (!device) continue;
        ++status.used;
        const std::string_view state = read_text(device->record, field_named("Devicestate"));
        if (state == "UP") ++status.up;
        if (is_offline(state)) ++status.offline;
    }
    return status;
}

std::string words_of_size(int64_t bytes) {
    static constexpr int64_t KIB = 1024;
    return std::to_string((bytes + KIB - 1) / KIB) + " KiB";
}

std::string words_of(const Status &status) {
    const auto count = [](size_t rows) { return std::to_string(rows); };
    const std::string writer =
        status.stuck_writer == 0 ? "" : "writer          " + words_of_writer(status.stuck_writer) + "\n";
    const size_t other = status.used - status.up - status.offline;
    return "store           " + escape_for_terminal(status.store) + " (" + words_of_size(status.size) + ")\n" +
           "rows used       " + count(status.used) + " of " + count(SARN_ROWS) + "\n" + "  up            " +
           count(status.up) + "\n" + "  offline       " + count(status.offline) + "\n" +
           (other == 0 ? "" : "  other state   " + count(other) + "\n") + "rows free       " +
           count(SARN_ROWS - status.used) + "\n" + writer + "access control  " + (status.access ? "on" : "off") + "\n" +
           "upgrade         " + (status.upgrade ? "on" : "off") + "\n";
}

std::string json_of(const Status &status) {
    return dump({{"store", status.store},
                 {"size", status.size},
                 {"used", status.used},
                 {"up", status.up},
                 {"offline", status.offline},
                 {"free", SARN_ROWS - status.used},
                 {"stuck_writer", status.stuck_writer == 0 ? Json() : Json(status.stuck_writer)},
                 {"access", status.access},
                 {"upgrade", status.upgrade}});
}

}  // namespace

Run setup_status(CLI::App &command) {
    const auto as_json = std::make_shared<bool>(false);
    command.add_flag("--json", *as_json, "Print one object; sizes are bytes");
    return [as_json](Output &output) {
        const Status status = read_status();
        output.text += *as_json ? json_of(status) : words_of(status);
        return EXIT_DONE;
    };
}

}  // namespace tool
