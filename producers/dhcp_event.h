// What a call of dnsmasq's dhcp-script means for the device list. Pure: no store, no process state, no output.
#ifndef SARN_PRODUCERS_DHCP_EVENT_H
#define SARN_PRODUCERS_DHCP_EVENT_H

#include <sarn.h>

namespace sarn_dhcp {

enum class Verdict {
    Report,     // a device to report
    Elsewhere,  // a lease that a device may have had, and that is no device's of the list now
    Ignore,     // no business of the device list: another kind of event, IPv6, hardware that is not ethernet
    Usage,      // arguments missing
    BadMac,     // not a MAC address, or the one that stands for no device
    BadIp       // not an IPv4 address
};

enum class Action { Add, Old, Del };

// One event, as pointers into the arguments. `ip` is a valid dotted quad, and of a report `mac` a valid ethernet
// address.
struct Event {
    Action action;
    const char *mac;
    const char *ip;
    const char *name;  // null without one
};

// Reads the arguments `add|old|del MAC IP [NAME]`. `event` is filled for Report and Elsewhere.
Verdict read_event(int argc, const char *const *argv, Event &event);

// Whether an end, or the replay for a device that is up, says nothing of it, which is there under another address than
// the lease's: a client may hold several leases for one MAC, such as one of each of its systems.
bool is_of_another_lease(const Event &event, const char *const *environment, const device_info &held);

// Fills the report of an event. `environment` is a null-terminated array of "NAME=value"; `held` is the device as the
// list holds it, or null for a new one. False when `held` lacks a text that the report would have to repeat.
bool fill_report(const Event &event, const char *const *environment, const device_info *held, signature_record &report);

// Whether the list shows the device as the one that has the event's address, and that one as another than the event's.
bool shows_lease(const Event &event, const device_info &device);
bool is_former_holder(const Event &event, const device_info &device);

// Whether the list shows what the report said.
bool is_shown(const signature_record &report, const device_info &shown);

}  // namespace sarn_dhcp

#endif
