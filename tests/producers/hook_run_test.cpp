// Runs the hook as dnsmasq does, on a store of its own.
#include <gtest/gtest.h>
#include <sarn.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/wait.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "tests/support/store_folder.h"

namespace {

constexpr char LEASE[] = " 02:00:00:00:00:0a 10.0.0.5";

class Hook : public testing::Test {
protected:
    std::string folder = make_store_folder();
    std::string out;

    void SetUp() override {
        setenv("KORA_STORE", (folder + "/store.mdb").c_str(), 1);
        setenv("HOSTNAME", "router", 1);
        __log_to_console = 0;
        ASSERT_EQ(sarn_init(), SARN_OK);
    }
    void TearDown() override {
        EXPECT_EQ(sarn_uninit(), SARN_OK);
        std::filesystem::remove_all(folder);
    }

    // The exit status; `out` is what the hook wrote.
    int run(const std::string &environment, const std::string &arguments, const char *hook = SARN_DHCP) {
        FILE *pipe = popen((environment + " '" + hook + "' 2>&1 " + arguments).c_str(), "r");
        char buffer[4096];
        out.assign(buffer, fread(buffer, 1, sizeof buffer, pipe));
        const int status = pclose(pipe);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    // name, state, interface, category, vendor class, options and address of a row
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
    const struct {
        const char *environment, *arguments;
        int status;
        const char *words;
    } ROWS[] = {
        {"KORA_STORE=/dev/null/x", "init", 0, ""},
        {"KORA_STORE=/dev/null/x", "add 06-02:00:00:00:00:0a 10.0.0.5", 0, ""},
        {"KORA_STORE=/dev/null/x", "add 02:00:00:00:00:0a 10.0.0.5", 3, "the store cannot be opened"},
        {"", "add 02:00:00:00:00:0a 10.0.0", 1, "not an IPv4 address"},
        {"", "add \"$(printf '\\033%%n%05000d')\" 10.0.0.5", 1, "\\x1b%n000"},
        {"", "", 2, "add|old|del"},
        {"", "--help >/dev/full", 1, "cannot be written"},
    };
    for (const auto &row : ROWS) {
        EXPECT_EQ(run(row.environment, row.arguments), row.status) << row.arguments;
        EXPECT_NE(out.find(row.words), std::string::npos) << out;
        EXPECT_EQ(std::ranges::count(out, '\n'), row.status == 0 ? 0 : 1) << out;
    }
    EXPECT_EQ(run("", "--help"), 0);
    EXPECT_NE(out.find("Exit status"), std::string::npos);
}

TEST_F(Hook, StoresWhatItIsToldAndKeepsTheRest) {
    const std::string told = "DNSMASQ_INTERFACE=br0 DNSMASQ_VENDOR_CLASS=v DNSMASQ_REQUESTED_OPTIONS=6,3";
    EXPECT_EQ(run(told, "add" + std::string(LEASE) + " name"), 0);
    EXPECT_EQ(device(0), "name|UP|br0||v|6,3|10.0.0.5|");
    const signature_record other = {"", "", "", "", "wlan1", "phone", "02:00:00:00:00:0A", "10.0.0.5", "idle"};
    ASSERT_EQ(update_device_signature(&other, 0), SARN_OK);
    EXPECT_EQ(run("DNSMASQ_DATA_MISSING=1", "old" + std::string(LEASE) + " lease"), 0);
    EXPECT_EQ(device(0), "name|idle|wlan1|phone|v|6,3|10.0.0.5|");
    EXPECT_EQ(run("", "del 02:00:00:00:00:0a 10.0.0.6 other"), 0);
    EXPECT_EQ(device(0), "name|idle|wlan1|phone|v|6,3|10.0.0.5|");
    EXPECT_EQ(run("", "del" + std::string(LEASE)), 0);
    EXPECT_EQ(device(0), "name|DOWN|wlan1|phone|v|6,3|10.0.0.5|");
    EXPECT_EQ(run("DNSMASQ_DATA_MISSING=1", "old 02:00:00:00:00:0b 10.0.0.6"), 0);
    EXPECT_EQ(device(1), "|unknown|||||10.0.0.6|");
    EXPECT_EQ(run("", "del 02:00:00:00:00:0c 10.0.0.7"), 0);
    EXPECT_EQ(device(2) + out, "none");
}

TEST_F(Hook, TellsAFullListFromADeviceThatTheFullListGivesUp) {
    signature_record record = {"", "", "", "", "", "", "", "10.0.1.1", "UP"};
    for (int i = 0; i < SARN_ROWS; ++i) {
        snprintf(record.mac, sizeof record.mac, "02:00:00:00:01:%02X", static_cast<unsigned>(i) & 0xFFU);
        ASSERT_EQ(update_device_signature(&record, 0), SARN_OK);
    }
    EXPECT_EQ(run("", "add" + std::string(LEASE)), 1);
    EXPECT_TRUE(out.ends_with("no free row: SARN: Signature update failed status -4\n")) << out;
    EXPECT_EQ(run("", "del 02:00:00:00:01:07 10.0.1.1"), 0) << out;
    EXPECT_EQ(run("", "add" + std::string(LEASE)), 0) << out;
    EXPECT_EQ(device(7), "|UP|||||10.0.0.5|");
}

TEST_F(Hook, TellsAWriteThatTheStoreRefused) {
    EXPECT_EQ(run("", "add" + std::string(LEASE), SARN_DHCP_ON_REFUSING_STORE), 3);
    EXPECT_NE(out.find("could not keep the device"), std::string::npos) << out;
    EXPECT_EQ(run("", "add" + std::string(LEASE)), 0);
    EXPECT_EQ(run("", "del" + std::string(LEASE), SARN_DHCP_ON_REFUSING_STORE), 3);
    EXPECT_NE(out.find("the list does not show it"), std::string::npos) << out;
}

}  // namespace
