// What dnsmasq passes to its hook, and what the device list is to be told for it.
#include "dhcp_event.h"

#include <gtest/gtest.h>
#include <stddef.h>
#include <stdio.h>
#include <string.h>

#include <string>
#include <vector>

#include "client_text.h"

namespace sarn_dhcp {
namespace {

using Texts = std::vector<std::string>;

constexpr char MAC[] = "02:00:00:00:00:0a";
constexpr char IP[] = "10.0.0.5";

std::string repeat(const std::string &text, int count) {
    std::string result;
    while (count-- > 0) result += text;
    return result;
}

std::vector<const char *> pointers(const Texts &texts) {
    std::vector<const char *> result;
    for (const std::string &text : texts) result.push_back(text.c_str());
    result.push_back(nullptr);
    return result;
}

// The row as the queries give it: '0' characters behind each text.
device_info device_called(const char *name, const char *state = "idle") {
    device_info device;
    memset(&device, '0', sizeof device);
    const auto set = [](auto &field, const char *text) { snprintf(field, sizeof field, "%s", text); };
    set(device.DeviceMAC, "02:00:00:00:00:0A");
    set(device.DeviceIP, IP);
    set(device.DeviceDHCPHostname, name);
    set(device.DeviceHostname, name);
    set(device.DeviceDHCPVendor, "v");
    set(device.DeviceDHCPOptions, "1,3");
    set(device.DeviceConnectionInterface, "wlan0");
    set(device.DeviceCategory, "phone");
    set(device.Devicestate, state);
    return device;
}

// The event points into the arguments.
Verdict read(const Texts &arguments, Event &event) {
    std::vector<const char *> argv = pointers(arguments);
    argv.insert(argv.begin(), "sarn-dhcp");
    return read_event(static_cast<int>(argv.size()) - 1, argv.data(), event);
}

signature_record report_of(const Texts &arguments, const Texts &environment, const device_info *held) {
    Event event{};
    signature_record report;
    memset(&report, 'x', sizeof report);
    EXPECT_EQ(read(arguments, event), Verdict::Report);
    EXPECT_TRUE(fill_report(event, pointers(environment).data(), held, report));
    return report;
}

TEST(ReadEvent, TellsReportsFromWhatIsIgnoredAndRefused) {
    const struct {
        const char *name;
        Texts arguments;
        Verdict verdict;
    } ROWS[] = {
        {"upper case, no name", {"old", "02:AB:CD:EF:00:0A", IP}, Verdict::Report},
        {"file transfer", {"tftp", "512", IP, "/boot"}, Verdict::Ignore},
        {"start", {"init"}, Verdict::Ignore},
        {"IPv6", {"add", "00:01:00:01:2a:2b:2c:2d:02:00:00:00:00:0a", "2001:db8::5"}, Verdict::Ignore},
        {"IPv6, identifier as short as a MAC", {"add", MAC, "fe80::5"}, Verdict::Ignore},
        {"identifier", {"add", "00:03:00:01:02:00:00:00:00:0a", IP}, Verdict::Ignore},
        {"token ring", {"add", "06-02:00:00:00:00:0a", IP}, Verdict::Ignore},
        {"hardware without address", {"add", "20-", IP}, Verdict::Ignore},
        {"nothing", {}, Verdict::Usage},
        {"no address", {"add", MAC}, Verdict::Usage},
        {"dashes", {"add", "02-00-00-00-00-0a", IP}, Verdict::BadMac},
        {"five pairs", {"add", "02:00:00:00:00", IP}, Verdict::BadMac},
        {"text after the MAC", {"add", "02:00:00:00:00:0a ", IP}, Verdict::BadMac},
        {"no device", {"add", "00:00:00:00:00:00", IP}, Verdict::BadMac},
        {"long MAC", {"add", repeat("%n", 5000), IP}, Verdict::BadMac},
        {"valid when cut", {"add", MAC, "100.100.100.1000"}, Verdict::BadIp},
        {"empty parts", {"add", MAC, "1..2.3.4"}, Verdict::BadIp},
    };
    for (const auto &row : ROWS) {
        Event event{};
        EXPECT_EQ(read(row.arguments, event), row.verdict) << row.name;
    }
}

TEST(FillReport, TakesTextsFromEventEnvironmentAndRow) {
    const device_info named = device_called("held"), unnamed = device_called("");
    const std::string replay = "DNSMASQ_DATA_MISSING=1", lan = "DNSMASQ_INTERFACE=br0";
    const std::string own = "DNSMASQ_SUPPLIED_HOSTNAME=own name";
    const struct {
        const char *name;
        Texts arguments, environment;
        const device_info *held;
        const char *hostname, *state, *interface, *category;
    } ROWS[] = {
        {"new", {"add", MAC, IP, "n"}, {lan}, nullptr, "n", "UP", "br0", ""},
        {"known", {"add", MAC, IP, "n"}, {lan}, &named, "n", "UP", "br0", "phone"},
        {"supplied", {"add", MAC, IP, "n"}, {own}, nullptr, "own name", "UP", "", ""},
        {"supplied empty", {"add", MAC, IP, "n"}, {"DNSMASQ_SUPPLIED_HOSTNAME="}, nullptr, "n", "UP", "", ""},
        {"router's own", {"add", MAC, IP}, {"HOSTNAME=r", own + "x", "X" + own}, nullptr, "own namex", "UP", "", ""},
        {"another variable", {"add", MAC, IP}, {"DNSMASQ_SUPPLIED_HOSTNAME2=x"}, nullptr, "", "UP", "", ""},
        {"name lost", {"old", MAC, IP}, {own}, &named, "own name", "idle", "wlan0", "phone"},
        {"replay, new", {"old", MAC, IP, "n"}, {replay}, nullptr, "n", "unknown", "", ""},
        {"replay, named", {"old", MAC, IP, "n"}, {replay}, &named, "", "idle", "wlan0", "phone"},
        {"replay, unnamed", {"old", MAC, IP, "n"}, {replay}, &unnamed, "n", "idle", "wlan0", "phone"},
        {"end, named", {"del", MAC, IP, "n"}, {}, &named, "", "DOWN", "wlan0", "phone"},
        {"end, unnamed", {"del", MAC, IP, "n"}, {own + "x"}, &unnamed, "own namex", "DOWN", "wlan0", "phone"},
        {"end, empty name", {"del", MAC, IP, ""}, {}, &named, "", "DOWN", "wlan0", "phone"},
    };
    for (const auto &row : ROWS) {
        const signature_record report = report_of(row.arguments, row.environment, row.held);
        const Texts told = {report.dhcp_hostname, report.state,      report.connection_interface,
                            report.category,      report.mac,        report.ip,
                            report.hua,           report.dhcp_vendor};
        EXPECT_EQ(told, (Texts{row.hostname, row.state, row.interface, row.category, MAC, IP, "", ""})) << row.name;
    }
}

TEST(EndsAnotherLease, OnlyWhereTheDeviceHoldsAnAddressOfItsOwn) {
    const struct {
        Action action;
        const char *held;
        bool expected;
    } ROWS[] = {{Action::Del, "10.0.0.50", true},    {Action::Del, IP, false}, {Action::Del, "0.0.0.0", false},
                {Action::Del, "48.48.48.48", false}, {Action::Del, "", false}, {Action::Add, "10.0.0.50", false}};
    for (const auto &row : ROWS) {
        device_info device = device_called("held");
        snprintf(device.DeviceIP, sizeof device.DeviceIP, "%s", row.held);
        EXPECT_EQ(ends_another_lease({row.action, MAC, IP, nullptr}, device), row.expected) << row.held;
    }
}

TEST(FillReport, RefusesToRepeatWhatCouldNotBeRead) {
    const auto fills = [](const device_info &held) {
        const char *nothing = nullptr;
        signature_record report;
        return fill_report({Action::Old, MAC, IP, nullptr}, &nothing, &held, report);
    };
    const auto fills_without = [fills](auto field) {
        device_info held = device_called("held");
        memset(held.*field, '0', sizeof(held.*field));
        return fills(held);
    };
    EXPECT_TRUE(fills(device_called("held")));
    EXPECT_FALSE(fills_without(&device_info::DeviceCategory));
    EXPECT_FALSE(fills_without(&device_info::DeviceConnectionInterface));
    EXPECT_FALSE(fills_without(&device_info::Devicestate));
}

TEST(ClientText, IsCutAtACharacterForStoreAndReaders) {
    const std::string two = "\xc3\xa9", three = "\xe6\x97\xa5", four = "\xf0\x9f\x98\x80";
    const struct {
        const char *name;
        std::string text;
        size_t length;
    } ROWS[] = {
        {"fits the store", std::string(64, 'a'), 64},
        {"too long", std::string(65, 'a'), 64},
        {"readers would split", repeat(two, 40), 62},
        {"store would split", "a" + repeat(two, 40), 63},
        {"three bytes", repeat(three, 30), 63},
        {"four bytes", repeat(four, 30), 60},
        {"not UTF-8", repeat("\x80", 300), 64},
        {"broken at the cut", std::string(63, 'a') + "\xf0zz", 64},
        {"stray byte at the cut", std::string(64, 'a') + "\x80\x80", 64},
        {"directives and escapes", "%n%s\x1b[2J\xff", 9},
    };
    for (const auto &row : ROWS) {
        const Texts environment = {"DNSMASQ_VENDOR_CLASS=" + row.text, "DNSMASQ_REQUESTED_OPTIONS=" + row.text};
        const signature_record report = report_of({"add", MAC, IP, row.text}, environment, nullptr);
        EXPECT_EQ(report.dhcp_hostname, row.text.substr(0, row.length)) << row.name;
        EXPECT_STREQ(report.dhcp_vendor, report.dhcp_hostname) << row.name;
        EXPECT_STREQ(report.dhcp_options, report.dhcp_hostname) << row.name;
    }
    char escaped[16];
    escape_text("a\x1b[\\\xff\n23456", escaped, sizeof escaped);
    EXPECT_STREQ(escaped, "a\\x1b[\\x5c\\xff");
}

TEST(IsShown, TellsAReportThatTheStoreDidNotTake) {
    const Texts environment = {"DNSMASQ_VENDOR_CLASS=v", "DNSMASQ_REQUESTED_OPTIONS=1,3"};
    const device_info shown = device_called("held", "UP");
    const signature_record report = report_of({"add", MAC, IP, "held"}, environment, &shown);
    EXPECT_TRUE(is_shown(report, shown));
    for (const size_t field :
         {offsetof(signature_record, mac), offsetof(signature_record, ip), offsetof(signature_record, state),
          offsetof(signature_record, dhcp_hostname), offsetof(signature_record, dhcp_vendor),
          offsetof(signature_record, dhcp_options), offsetof(signature_record, connection_interface),
          offsetof(signature_record, category)}) {
        signature_record other = report;
        reinterpret_cast<char *>(&other)[field] = '9';
        EXPECT_FALSE(is_shown(other, shown)) << field;
    }
    signature_record without_options = report;
    without_options.dhcp_options[0] = '\0';
    without_options.dhcp_vendor[0] = '9';  // the library writes no vendor without options
    EXPECT_TRUE(is_shown(without_options, shown));
}

}  // namespace
}  // namespace sarn_dhcp
