#include "dhcp_event.h"

#include <arpa/inet.h>
#include <string.h>

#include "client_text.h"

namespace sarn_dhcp {
namespace {

constexpr int MAC_PAIRS = 6;
constexpr size_t MAC_LENGTH = sizeof(signature_record::mac) - 1;
constexpr char NO_DEVICE[] = "00:00:00:00:00:00";

enum Argument { ACTION = 1, MAC, IP, NAME };

bool is_hex_digit(char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

bool is_hex_pair(const char *text) { return is_hex_digit(text[0]) && is_hex_digit(text[1]); }

// The number of two-digit pairs joined by colons of which the whole text consists; 0 for any other text.
int count_pairs(const char *text) {
    for (int count = 1; is_hex_pair(text); ++count) {
        text += 2;
        if (*text == '\0') return count;
        if (*text++ != ':') return 0;
    }
    return 0;
}

// dnsmasq writes "06-" and the like before an address of other hardware, and nothing after it where there is none.
// An address of more pairs than a MAC's is an IPv6 client's identifier.
bool is_other_hardware(const char *mac) {
    if (is_hex_pair(mac) && mac[2] == '-') return mac[3] == '\0' || count_pairs(mac + 3) > 0;
    return count_pairs(mac) > MAC_PAIRS;
}

bool read_action(const char *text, Action &action) {
    static constexpr struct {
        const char *text;
        Action action;
    } ACTIONS[] = {{"add", Action::Add}, {"old", Action::Old}, {"del", Action::Del}};
    for (const auto &known : ACTIONS) {
        if (strcmp(text, known.text) != 0) continue;
        action = known.action;
        return true;
    }
    return false;
}

// Null for a variable that is absent or empty: to the device list both say nothing.
const char *find_variable(const char *const *environment, const char *name) {
    const size_t length = strlen(name);
    for (; *environment != nullptr; ++environment) {
        if (strncmp(*environment, name, length) != 0 || (*environment)[length] != '=') continue;
        const char *value = *environment + length + 1;
        return *value != '\0' ? value : nullptr;
    }
    return nullptr;
}

template <size_t WIDTH>
void copy_text(char (&field)[WIDTH], const char *text) {
    memcpy(field, text, strnlen(text, WIDTH - 1));
}

template <size_t WIDTH>
void copy_client_text(char (&field)[WIDTH], const char *text, size_t shown) {
    if (text != nullptr) memcpy(field, text, length_to_store(text, WIDTH, shown));
}

// False for a text that could not be read from the store.
template <size_t WIDTH, size_t SHOWN>
bool copy_held_text(char (&field)[WIDTH], const char (&held)[SHOWN]) {
    static_assert(SHOWN <= WIDTH);
    const size_t length = strnlen(held, SHOWN);
    if (length == SHOWN) return false;
    memcpy(field, held, length);
    return true;
}

bool is_replay(const char *const *environment) {
    const char *missing = find_variable(environment, "DNSMASQ_DATA_MISSING");
    return missing != nullptr && strcmp(missing, "1") == 0;
}

// The client's own name, where it sent one: dnsmasq's is changed by its rules, and taken away when another client
// comes with the same. A replay and an end may not know what the client sent, so they only name a device that has no
// name yet.
const char *find_name(const Event &event, const char *const *environment, const device_info *held) {
    const char *supplied = find_variable(environment, "DNSMASQ_SUPPLIED_HOSTNAME");
    if (supplied != nullptr) return supplied;
    const bool is_named = held != nullptr && held->DeviceDHCPHostname[0] != '\0';
    return is_named && (is_replay(environment) || event.action == Action::Del) ? nullptr : event.name;
}

// A replay or a changed name says nothing about presence. An old lease that comes with what the device asks for is the
// answer to a device that has just come back.
bool fill_state(const Event &event, const char *const *environment, const device_info *held, signature_record &report) {
    const bool is_asking =
        !is_replay(environment) && find_variable(environment, "DNSMASQ_REQUESTED_OPTIONS") != nullptr;
    const bool is_told = event.action != Action::Old || is_asking;
    if (!is_told && held != nullptr) return copy_held_text(report.state, held->Devicestate);
    copy_text(report.state, event.action == Action::Del ? "DOWN" : is_told ? "UP" : "unknown");
    return true;
}

// A report always writes interface and category, so what the event does not tell is repeated.
bool fill_untold(const device_info &held, signature_record &report) {
    if (!copy_held_text(report.category, held.DeviceCategory)) return false;
    return report.connection_interface[0] != '\0' ||
           copy_held_text(report.connection_interface, held.DeviceConnectionInterface);
}

bool is_up(const device_info &device) { return strncmp(device.Devicestate, "UP", sizeof device.Devicestate) == 0; }

template <size_t WIDTH, size_t SHOWN>
bool is_same(const char (&told)[WIDTH], const char (&shown)[SHOWN]) {
    return strncmp(told, shown, SHOWN - 1) == 0;
}

// An empty text leaves what the row holds.
template <size_t WIDTH, size_t SHOWN>
bool is_same_or_untold(const char (&told)[WIDTH], const char (&shown)[SHOWN]) {
    return told[0] == '\0' || is_same(told, shown);
}

}  // namespace

Verdict read_event(int argc, const char *const *argv, Event &event) {
    if (argc <= ACTION || argv[ACTION][0] == '-') return Verdict::Usage;
    Action action{};
    if (!read_action(argv[ACTION], action)) return Verdict::Ignore;
    if (argc <= IP) return Verdict::Usage;
    const char *mac = argv[MAC];
    const char *ip = argv[IP];
    in_addr address{};
    const bool is_ip = inet_pton(AF_INET, ip, &address) == 1;
    const bool is_no_device = is_other_hardware(mac) || strcmp(mac, NO_DEVICE) == 0;
    if (is_ip) event = {action, mac, ip, argc > NAME ? argv[NAME] : nullptr};
    if (is_ip && is_no_device && action == Action::Old) return Verdict::Elsewhere;
    if (strchr(ip, ':') != nullptr || is_other_hardware(mac)) return Verdict::Ignore;
    if (count_pairs(mac) != MAC_PAIRS || is_no_device) return Verdict::BadMac;
    return is_ip ? Verdict::Report : Verdict::BadIp;
}

bool is_of_another_lease(const Event &event, const char *const *environment, const device_info &held) {
    // No address yet, or one that could not be read.
    static constexpr const char *UNKNOWN[] = {"", "0.0.0.0", SARN_IP_NOT_READABLE};
    const bool is_replay_beside = event.action == Action::Old && is_replay(environment) && is_up(held);
    if (event.action != Action::Del && !is_replay_beside) return false;
    for (const char *unknown : UNKNOWN) {
        if (strncmp(held.DeviceIP, unknown, sizeof held.DeviceIP) == 0) return false;
    }
    return strncmp(held.DeviceIP, event.ip, sizeof held.DeviceIP) != 0;
}

bool shows_lease(const Event &event, const device_info &device) {
    return is_up(device) && strncmp(device.DeviceIP, event.ip, sizeof device.DeviceIP) == 0;
}

bool is_former_holder(const Event &event, const device_info &device) {
    return shows_lease(event, device) && strncasecmp(device.DeviceMAC, event.mac, MAC_LENGTH) != 0;
}

bool fill_report(const Event &event, const char *const *environment, const device_info *held,
                 signature_record &report) {
    report = {};
    copy_text(report.mac, event.mac);
    copy_text(report.ip, event.ip);
    const char *name = find_name(event, environment, held);
    const char *vendor = find_variable(environment, "DNSMASQ_VENDOR_CLASS");
    const char *options = find_variable(environment, "DNSMASQ_REQUESTED_OPTIONS");
    const char *interface = find_variable(environment, "DNSMASQ_INTERFACE");
    copy_client_text(report.dhcp_hostname, name, sizeof(device_info::DeviceDHCPHostname));
    copy_client_text(report.dhcp_vendor, vendor, sizeof(device_info::DeviceDHCPVendor));
    copy_client_text(report.dhcp_options, options, sizeof(device_info::DeviceDHCPOptions));
    copy_client_text(report.connection_interface, interface, sizeof(device_info::DeviceConnectionInterface));
    return fill_state(event, environment, held, report) && (held == nullptr || fill_untold(*held, report));
}

bool is_shown(const signature_record &report, const device_info &shown) {
    const bool is_vendor_written = report.dhcp_options[0] != '\0';
    return strncasecmp(report.mac, shown.DeviceMAC, MAC_LENGTH) == 0 && is_same(report.ip, shown.DeviceIP) &&
           is_same(report.state, shown.Devicestate) && is_same(report.category, shown.DeviceCategory) &&
           is_same(report.connection_interface, shown.DeviceConnectionInterface) &&
           is_same_or_untold(report.dhcp_hostname, shown.DeviceDHCPHostname) &&
           is_same_or_untold(report.dhcp_hostname, shown.DeviceHostname) &&
           is_same_or_untold(report.dhcp_options, shown.DeviceDHCPOptions) &&
           (!is_vendor_written || is_same_or_untold(report.dhcp_vendor, shown.DeviceDHCPVendor));
}

}  // namespace sarn_dhcp
