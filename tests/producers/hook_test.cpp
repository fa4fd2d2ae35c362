// Runs the hook as dnsmasq does: what it answers, and what the list then holds.
#include <kora.h>
#include <sarn.h>

#include <algorithm>
#include <tuple>

#include "client_text.h"
#include "dhcp_event.h"
#include "tests/support/device.h"
#include "tests/tools/run_program.h"

namespace {

using namespace sarn_dhcp;

constexpr signature_record TOLD = {"", "n", "v", "6,3", "br0", "phone", "02:00:00:00:00:0a", "10.0.0.5", "UP"};

// One device is listed, in row 0.
class Hook : public OnStore {
protected:
    void SetUp() override {
        setenv("A", "02:00:00:00:00:0a 10.0.0.5", 1);
        setenv("HOSTNAME", "router", 1);
        __log_to_console = 0;
        ASSERT_EQ(sarn_init(), SARN_OK);
        ASSERT_EQ(update_device_signature(&TOLD, 0), SARN_OK);
        ASSERT_EQ(get_device_info_at_index(&held, 0), SARN_OK);
    }
    void TearDown() override { EXPECT_EQ(sarn_uninit(), SARN_OK); }

    device_info held;

    // Name, state, interface, category, vendor class, options and address.
    static std::string device(uint32_t row) {
        device_info info;
        if (get_device_info_at_index(&info, row) != SARN_OK) return "none";
        std::string text;
        for (const char *field : {info.DeviceDHCPHostname, info.Devicestate, info.DeviceConnectionInterface,
                                  info.DeviceCategory, info.DeviceDHCPVendor, info.DeviceDHCPOptions, info.DeviceIP})
            text += std::string(field) + "|";
        return text;
    }
};

TEST_F(Hook, AnswersInOneLineAndByExitStatus) {
    const std::tuple<const char *, int, const char *> ROWS[] = {
        {"old 02:AB:CD:EF:00:0A 10.0.0.5", 3, "the store cannot be opened"},
        {"init", 0, ""},
        {"add 02:00:00:00:00:0a fe80::5", 0, ""},               // IPv6, its identifier as short as a MAC
        {"add 00:03:00:01:02:00:00:00:00:0a 10.0.0.5", 0, ""},  // an identifier
        {"add 06-02:00:00:00:00:0a 10.0.0.5", 0, ""},           // other hardware, with an address and without
        {"add 20- 10.0.0.5", 0, ""},
        {"", 2, "add|old|del"},
        {"add 02:00:00:00:00:0a", 2, "add|old|del"},
        {"add 02-00-00-00-00-0a 10.0.0.5", 1, "not a device's MAC"},
        {"add 02:00:00:00:00 10.0.0.5", 1, "not a device's MAC"},
        {"add 00:00:00:00:00:00 10.0.0.5", 1, "not a device's MAC"},
        {"add \"$(printf '\\033%%n\\\\%05000d')\" 10.0.0.5", 1, "\\x1b%n\\x5c000"},
        {"add 02:00:00:00:00:0a 100.100.100.1000", 1, "not an IPv4 address"},
        {"--help >/dev/full", 1, "cannot be written"},
    };
    for (const auto &[arguments, status, words] : ROWS) {
        const Result result = run(SARN_DHCP, arguments, "KORA_STORE=/dev/null/x");
        EXPECT_EQ(result.exit_code, status) << arguments;
        EXPECT_TRUE(has(result.out, words)) << result.out;
        EXPECT_EQ(std::ranges::count(result.out, '\n'), status == 0 ? 0 : 1) << result.out;
    }
    EXPECT_TRUE(has(run(SARN_DHCP, "--help && echo done").out, "done\n"));
}

// In this order. What the event does not tell stays: the presence, where it is seen, and a name but for a new one. Who
// asks is there, and a lease that goes on to another device is no longer the first one's.
TEST_F(Hook, StoresWhatItIsToldAndKeepsTheRest) {
    const std::tuple<const char *, const char *, uint32_t, const char *> ROWS[] = {
        {"DNSMASQ_INTERFACE=br0 DNSMASQ_VENDOR_CLASS=v DNSMASQ_REQUESTED_OPTIONS=6,3", "add 02:AB:00:00:00:0B 10.0.0.6",
         1, "|UP|br0||v|6,3|10.0.0.6|"},
        {"DNSMASQ_DATA_MISSING=1", "old 02:AB:00:00:00:0B 10.0.0.7 other", 1, "|UP|br0||v|6,3|10.0.0.6|"},
        {"DNSMASQ_DATA_MISSING=1", "old 02:AB:00:00:00:0B 10.0.0.6 lease", 1, "lease|UP|br0||v|6,3|10.0.0.6|"},
        {"", "add $A host", 0, "host|UP|br0|phone|v|6,3|10.0.0.5|"},
        {"DNSMASQ_SUPPLIED_HOSTNAME='own name'", "old $A host", 0, "own name|UP|br0|phone|v|6,3|10.0.0.5|"},
        {"DNSMASQ_DATA_MISSING=1", "old $A lease", 0, "own name|UP|br0|phone|v|6,3|10.0.0.5|"},
        {"DNSMASQ_SUPPLIED_HOSTNAME=x", "del 02:00:00:00:00:0a 10.0.0.50", 0, "own name|UP|br0|phone|v|6,3|10.0.0.5|"},
        {"DNSMASQ_INTERFACE=br1", "del $A lease", 0, "own name|DOWN|br1|phone|v|6,3|10.0.0.5|"},
        {"DNSMASQ_DATA_MISSING=0 DNSMASQ_SUPPLIED_HOSTNAME=", "old $A x", 0, "x|DOWN|br1|phone|v|6,3|10.0.0.5|"},
        {"XDNSMASQ_INTERFACE=x DNSMASQ_INTERFACE2=x", "old 02:AB:00:00:00:0C 10.0.0.8", 2, "|unknown|||||10.0.0.8|"},
        {"DNSMASQ_REQUESTED_OPTIONS=1", "old 02:AB:00:00:00:0C 10.0.0.8", 2, "|UP||||1|10.0.0.8|"},
        {"DNSMASQ_REQUESTED_OPTIONS=1 DNSMASQ_DATA_MISSING=1", "old $A x", 0, "x|DOWN|br1|phone|v|1|10.0.0.5|"},
        {"DNSMASQ_DATA_MISSING=1", "old 02:AB:00:00:00:0E 10.0.0.8", 2, "|DOWN||||1|10.0.0.8|"},
        {"DNSMASQ_DATA_MISSING=1", "old 02:AB:00:00:00:0C 10.0.0.9", 2, "|DOWN||||1|10.0.0.9|"},
        {"", "add 02:AB:00:00:00:0C 10.0.0.9", 2, "|UP||||1|10.0.0.9|"},
        {"", "old 06-02:00:00:00:00:0a 10.0.0.9", 2, "|DOWN||||1|10.0.0.9|"},
        {"", "add 02:AB:00:00:00:0C 10.0.0.9", 2, "|UP||||1|10.0.0.9|"},
        {"", "old 00:00:00:00:00:00 10.0.0.9", 2, "|DOWN||||1|10.0.0.9|"},
        {"DNSMASQ_DATA_MISSING=1", "old 02:AB:00:00:00:0B 10.0.0.6", 1, "lease|UP|br0||v|6,3|10.0.0.6|"},
        {"", "old 02:AB:00:00:00:0B 10.0.0.7", 1, "lease|UP|br0||v|6,3|10.0.0.7|"},
        {"", "del 02:AB:00:00:00:0D 10.0.0.9", 4, "none"},
    };
    for (const auto &[environment, arguments, row, shown] : ROWS) {
        EXPECT_EQ(run(SARN_DHCP, arguments, environment).out, "") << arguments;
        EXPECT_EQ(device(row), shown) << environment << " " << arguments;
    }
    uint32_t producer = 0;
    void *store = kora_init_ex(nullptr);
    ASSERT_EQ(kora_get_uint(store, "Sarnsignature", 0, "Producerid", &producer) + kora_destroy(store), 0);
    EXPECT_EQ(producer, 20U);
}

TEST_F(Hook, TellsAFullListFromADeviceThatTheFullListGivesUp) {
    for (int i = 0; i < SARN_ROWS; ++i) {  // the listed one among them
        const signature_record record = signature_of(mac_of(i));
        ASSERT_EQ(update_device_signature(&record, 0), SARN_OK);
    }
    const Result refused = run(SARN_DHCP, "add 02:00:00:00:01:00 10.0.0.5");
    EXPECT_EQ(refused.exit_code, 1);
    EXPECT_TRUE(refused.out.ends_with("no free row: SARN: Signature update failed status -4\n")) << refused.out;
    ASSERT_EQ(sarn_update_table_field(mac_of(9).c_str(), SARN_FIELD_IP, "10.0.0.9", sizeof "10.0.0.9", 0), SARN_OK);
    EXPECT_EQ(run(SARN_DHCP, "old 02:00:00:00:01:01 10.0.0.9", "DNSMASQ_REQUESTED_OPTIONS=1").exit_code, 0);
    EXPECT_EQ(device(10), "|UP||||1|10.0.0.9|");
    EXPECT_EQ(run(SARN_DHCP, "del 02:00:00:00:00:07 192.168.1.7").exit_code, 0);
    EXPECT_EQ(run(SARN_DHCP, "add 02:00:00:00:01:00 10.0.0.5").exit_code, 0);
    EXPECT_EQ(device(8), "|UP|||||10.0.0.5|");
    EXPECT_EQ(run(SARN_DHCP, "del 02:00:00:00:00:06 192.168.1.7").exit_code, 0);
    EXPECT_EQ(run(SARN_DHCP, "old 02:00:00:00:01:02 10.0.0.6").exit_code, 0);  // "unknown": given up at once
}

TEST_F(Hook, TellsAWriteThatTheStoreRefused) {
    const Result unkept = run(SARN_DHCP_ON_REFUSING_STORE, "add 02:00:00:00:00:0b 10.0.0.6");
    EXPECT_TRUE(unkept.exit_code == 3 && has(unkept.out, "could not keep the device")) << unkept.out;
    void *store = kora_init_ex(nullptr);
    ASSERT_EQ(kora_set_ascii(store, "DeviceIdList", 0, "Timestamp", "1") + kora_destroy(store), 0);
    for (const char *event : {"del $A", "old $A"}) {  // with something new, and without
        const Result unwritten = run(SARN_DHCP_ON_REFUSING_STORE, event);
        EXPECT_TRUE(unwritten.exit_code == 3 && has(unwritten.out, "the list does not show it")) << unwritten.out;
    }
    const Result unended = run(SARN_DHCP_ON_REFUSING_STORE, "old 00:00:00:00:00:00 10.0.0.5");
    EXPECT_TRUE(unended.exit_code == 3 && has(unended.out, "may still show as up")) << unended.out;
}

TEST_F(Hook, SeesEachFieldThatTheStoreDidNotTake) {
    EXPECT_TRUE(is_shown(TOLD, held));
    for (size_t at = 0; at < sizeof TOLD; ++at) {
        signature_record other = TOLD;
        char &byte = reinterpret_cast<char *>(&other)[at];
        if (byte == '\0') continue;
        byte = '9';
        EXPECT_FALSE(is_shown(other, held)) << at;
    }
    signature_record without_options = TOLD;
    without_options.dhcp_options[0] = '\0';
    without_options.dhcp_vendor[0] = '9';  // the library writes no vendor without options
    EXPECT_TRUE(is_shown(without_options, held));
}

TEST_F(Hook, TakesNothingForKnownThatCouldNotBeRead) {
    const char *no_environment = nullptr;
    const auto fills_without = [&](auto field) {
        device_info unread = held;
        std::memset(unread.*field, '0', sizeof(unread.*field));
        signature_record report;
        return fill_report({Action::Old, TOLD.mac, TOLD.ip, nullptr}, &no_environment, &unread, report);
    };
    EXPECT_FALSE(fills_without(&device_info::DeviceCategory));
    EXPECT_FALSE(fills_without(&device_info::DeviceConnectionInterface));
    EXPECT_FALSE(fills_without(&device_info::Devicestate));
    for (const char *unknown : {"", "0.0.0.0", SARN_IP_NOT_READABLE}) {
        set_text(held.DeviceIP, unknown);
        EXPECT_FALSE(is_of_another_lease({Action::Del, TOLD.mac, TOLD.ip, nullptr}, &no_environment, held)) << unknown;
    }
}

TEST(ClientText, IsCutAtACharacterForStoreAndReaders) {
    const std::string letters(63, 'a');
    const std::tuple<std::string, std::string, size_t> ROWS[] = {
        {"", "a", 64},
        {"", "\xc3\xa9", 62},   // readers would split
        {"a", "\xc3\xa9", 63},  // the store would split
        {"", "\xe6\x97\xa5", 63},
        {"", "\xf0\x9f\x98\x80", 60},
        {letters, "\xf0zz", 64},
        {letters + "a", "\x80", 64},
    };
    for (auto [text, repeated, length] : ROWS) {
        while (text.size() <= 70) text += repeated;
        EXPECT_EQ(length_to_store(text.c_str(), 65, sizeof device_info::DeviceDHCPVendor), length) << text;
    }
}

}  // namespace
