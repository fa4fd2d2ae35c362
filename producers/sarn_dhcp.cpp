// sarn-dhcp: dnsmasq's dhcp-script hook. Reports each lease that is given, replayed or ended to the device list.
#include <sarn.h>
#include <signal.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include "client_text.h"
#include "dhcp_event.h"
#include "kora.h"

namespace {

using sarn_dhcp::Action;
using sarn_dhcp::Event;
using sarn_dhcp::Verdict;

constexpr int32_t DHCP_PRODUCER = 20;
constexpr int32_t REFUSAL_LEVEL = 4;
constexpr int TRIES = 3;  // others may write the same device in between

enum Exit { EXIT_DONE = 0, EXIT_REFUSED = 1, EXIT_USAGE = 2, EXIT_STORE = 3 };

constexpr char USAGE[] =
    "Usage: sarn-dhcp add|old|del MAC IP [NAME]\n"
    "Reports a DHCP lease to the router's device list. For dnsmasq: dhcp-script= and its installed path\n"
    "\n"
    "  add  the device is up       del  the device is down\n"
    "  old  it is up when it asked for its lease again; when the lease is replayed its state stays as it is\n"
    "Other events, IPv6 leases and hardware that is not ethernet are ignored.\n"
    "\n"
    "Environment (set by dnsmasq): DNSMASQ_SUPPLIED_HOSTNAME, DNSMASQ_VENDOR_CLASS, DNSMASQ_REQUESTED_OPTIONS,\n"
    "DNSMASQ_INTERFACE, DNSMASQ_DATA_MISSING. KORA_STORE names the store (default " KORA_DEFAULT_STORE
    ").\n"
    "\n"
    "Exit status: 0 stored or ignored, 1 refused (an address is wrong, or the list is full) or this help not written,\n"
    "2 usage, 3 the store cannot be opened, read or written.\n";

constexpr size_t CAUSE_SIZE = 600;  // the store's lines are shorter
char cause[CAUSE_SIZE];
bool is_cause_the_stores = false;

// One line, client bytes escaped, in one write so that the lines of several processes do not mix.
int fail(Exit status, int argc, const char *const *argv, const char *reason) {
    constexpr size_t ARGUMENT_SIZE = 80;
    constexpr int ARGUMENTS_SHOWN = 4;
    char shown_cause[4 * CAUSE_SIZE];  // each byte may take four
    char line[ARGUMENTS_SHOWN * ARGUMENT_SIZE + 256 + sizeof shown_cause];
    size_t used = static_cast<size_t>(snprintf(line, sizeof line, "sarn-dhcp"));
    for (int i = 1; i < argc && i < ARGUMENTS_SHOWN; ++i) {
        line[used++] = ' ';
        sarn_dhcp::escape_text(argv[i], line + used, ARGUMENT_SIZE);
        used += strlen(line + used);
    }
    sarn_dhcp::escape_text(cause, shown_cause, sizeof shown_cause);
    const char *separator = shown_cause[0] != '\0' ? ": " : "";
    const int rest = snprintf(line + used, sizeof line - used, ": %s%s%s\n", reason, separator, shown_cause);
    if (rest > 0) used += static_cast<size_t>(rest);
    const ssize_t written = write(STDERR_FILENO, line, used);
    static_cast<void>(written);
    return status;
}

// The library says the same of a full list and of a store that could not keep the new row.
int fail_without_row(int argc, const char *const *argv) {
    const int32_t used = get_total_sarn_entries_used();
    return used >= 0 && used < SARN_ROWS
               ? fail(EXIT_STORE, argc, argv, "not stored, the store could not keep the device")
               : fail(EXIT_REFUSED, argc, argv, "not stored, the device list has no free row");
}

int fail_by_code(int32_t code, int argc, const char *const *argv) {
    switch (code) {
        case SARN_ERR_NO_ROW: return fail_without_row(argc, argv);
        case SARN_ERR_MAC: return fail(EXIT_REFUSED, argc, argv, "not stored, the MAC address is refused");
        case SARN_ERR_IP: return fail(EXIT_REFUSED, argc, argv, "not stored, the IP address is refused");
        case SARN_ERR_REBUILD: return fail(EXIT_STORE, argc, argv, "not stored, no picture of the list or no thread");
        default: return fail(EXIT_REFUSED, argc, argv, "not stored, refused by the library");
    }
}

enum class Lookup { Found, Absent, Unreadable };

// Finds the device of a MAC as the list holds it.
Lookup find_device(const char *mac, device_info &device) {
    char text[sizeof(signature_record::mac)] = {};
    memcpy(text, mac, sizeof text - 1);
    const int32_t row = check_update_mapping_table(text, SARN_PRODUCER_LOOKUP_ONLY);
    if (row == SARN_ERR_LOOKUP_ONLY) return Lookup::Absent;
    if (row < 0) return Lookup::Unreadable;
    const int32_t result = get_device_info_at_index(&device, static_cast<uint32_t>(row));
    if (result == SARN_ERR_UNUSED_ROW) return Lookup::Absent;
    if (result != SARN_OK) return Lookup::Unreadable;
    // Another process may have given the row away between the two calls.
    return memcmp(device.DeviceMAC, text, sizeof text) == 0 ? Lookup::Found : Lookup::Absent;
}

// A list that could not be read whole may hold a device that was not found.
bool is_list_whole() {
    uint32_t rows[SARN_BITMAP_WORDS];
    return sarn_device_state_info(rows, SARN_BITMAP_WORDS, SARN_ROWS_IN_USE) >= 0;
}

// Of a report just made. The list keeps 32 bits of a time; one that could not be read has no end.
template <size_t Width>
bool is_since(const char (&stamp)[Width], time_t begun) {
    constexpr uint32_t LONGEST_REPORT = 3600;
    if (memchr(stamp, '\0', Width) == nullptr) return false;
    return static_cast<uint32_t>(atoll(stamp)) - static_cast<uint32_t>(begun) < LONGEST_REPORT;
}

// Looks again, since the library does not tell a write that the store refused. What says nothing new shows by its time.
bool is_stored(const Event &event, const signature_record &report, time_t begun) {
    device_info device;
    const Lookup lookup = find_device(event.mac, device);
    // A crowded list gives up its offline devices, so also the one that was just reported.
    const bool is_offline = strcmp(report.state, "DOWN") == 0 || strcmp(report.state, "unknown") == 0;
    if (lookup == Lookup::Absent) return is_offline;
    return lookup == Lookup::Found && is_since(device.Timestamp, begun) && sarn_dhcp::is_shown(report, device);
}

// False when the row's device may still be shown as up.
bool end_former_holder(uint32_t row, const Event &event) {
    device_info device;
    for (int i = 0;; ++i) {
        const int32_t result = get_device_info_at_index(&device, row);
        if (result == SARN_ERR_UNUSED_ROW) return true;
        if (result != SARN_OK) return false;
        if (!sarn_dhcp::is_former_holder(event, device)) return true;
        if (i == TRIES) return false;
        sarn_update_table_field(device.DeviceMAC, SARN_FIELD_STATE, "DOWN", sizeof "DOWN", DHCP_PRODUCER);
    }
}

// dnsmasq gives a lease that goes on to another hardware address as an old one, without an end of the first: its device
// would stay up for good.
bool end_former_holders(const Event &event) {
    uint32_t up[SARN_BITMAP_WORDS];
    if (sarn_device_state_info(up, SARN_BITMAP_WORDS, SARN_ROWS_UP) < 0) return false;
    bool are_ended = true;
    for (uint32_t row = 0; row < SARN_ROWS; ++row) {
        if ((up[row / 32] >> row % 32 & 1U) != 0) are_ended &= end_former_holder(row, event);
    }
    return are_ended;
}

bool is_holder(const Event &event) {
    device_info device;
    return find_device(event.mac, device) == Lookup::Found && sarn_dhcp::shows_lease(event, device);
}

// False when the list does not show the report then; else `out_status` is how the event ended.
bool store_event(const Event &event, int argc, const char *const *argv, bool is_first, int &out_status) {
    device_info device;
    out_status = EXIT_DONE;
    const Lookup lookup = find_device(event.mac, device);
    if (lookup == Lookup::Found && sarn_dhcp::is_of_another_lease(event, environ, device)) return true;
    // A device that was forgotten is not brought back by the end of its lease.
    if (lookup == Lookup::Absent && event.action == Action::Del && is_list_whole()) return true;
    signature_record report;
    if (lookup == Lookup::Unreadable ||
        !sarn_dhcp::fill_report(event, environ, lookup == Lookup::Found ? &device : nullptr, report)) {
        out_status = fail(EXIT_STORE, argc, argv, "not stored, the store cannot be read");
        return true;
    }
    if (is_first) cause[0] = '\0';  // the store tells the same trouble once
    const time_t begun = time(nullptr);
    const int32_t result = update_device_signature(&report, DHCP_PRODUCER);
    if (result == SARN_OK) return is_stored(event, report, begun);
    out_status = fail_by_code(result, argc, argv);
    return true;
}

int store_and_look(const Event &event, int argc, const char *const *argv) {
    int status = EXIT_DONE;
    for (int i = 0; i < TRIES; ++i) {
        if (store_event(event, argc, argv, i == 0, status)) return status;
    }
    return fail(EXIT_STORE, argc, argv, "the list does not show it, the store may be full");
}

int report_event(const Event &event, bool has_device, int argc, const char *const *argv) {
    const int32_t opened = sarn_init();
    // A failed clean-up leaves the library ready; whether the device can be stored shows below.
    if (opened != SARN_OK && opened != SARN_ERR_CLEANUP) {
        return fail(EXIT_STORE, argc, argv, "not stored, the store cannot be opened");
    }
    // First, since a full list gives the row to who comes now.
    const bool may_be_anothers = event.action == Action::Old && !(has_device && is_holder(event));
    const bool are_others_ended = !may_be_anothers || end_former_holders(event);
    int status = has_device ? store_and_look(event, argc, argv) : EXIT_DONE;
    if (status == EXIT_DONE && !are_others_ended)
        status = fail(EXIT_STORE, argc, argv, "the list may still show as up who had the lease before");
    sarn_uninit();
    return status;
}

}  // namespace

// The library logs through its host. dnsmasq copies every line of the hook to the system's log, so only the first
// refusal of a failing step is kept, to be told in the one line that the hook writes. But the store tells what it met
// on the way before it tells why it refuses.
extern "C" void log_printf(int32_t level, const char *file, int32_t /*line*/, const char *format, ...) {
    const bool is_the_stores = strcmp(file, KORA_LOG_SOURCE) == 0;
    if (level < REFUSAL_LEVEL || (cause[0] != '\0' && !(is_the_stores && is_cause_the_stores))) return;
    is_cause_the_stores = is_the_stores;
    va_list values;
    va_start(values, format);
    vsnprintf(cause, sizeof cause, format, values);
    va_end(values);
    cause[strcspn(cause, "\n")] = '\0';
}

int main(int argc, char **argv) {
    // Where nobody reads any more, or a file reaches the process's limit, a write then fails and gets its line.
    signal(SIGPIPE, SIG_IGN);
    signal(SIGXFSZ, SIG_IGN);
    if (argc == 2 && (strcmp(argv[1], "--help") == 0 || strcmp(argv[1], "-h") == 0)) {
        const bool is_written = fputs(USAGE, stdout) >= 0 && fflush(stdout) == 0;
        return is_written ? EXIT_DONE : fail(EXIT_REFUSED, argc, argv, "the help cannot be written");
    }
    __log_level = REFUSAL_LEVEL;
    Event event{};
    const Verdict verdict = sarn_dhcp::read_event(argc, argv, event);
    switch (verdict) {
        case Verdict::Ignore: return EXIT_DONE;
        case Verdict::Usage: return fail(EXIT_USAGE, argc, argv, "give add|old|del MAC IP [NAME], or --help");
        case Verdict::BadMac: return fail(EXIT_REFUSED, argc, argv, "not stored, this is not a device's MAC address");
        case Verdict::BadIp: return fail(EXIT_REFUSED, argc, argv, "not stored, this is not an IPv4 address");
        case Verdict::Elsewhere:
        case Verdict::Report: break;
    }
    return report_event(event, verdict == Verdict::Report, argc, argv);
}
