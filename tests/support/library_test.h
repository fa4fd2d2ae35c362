// A started library on a fake store, and short ways to put devices into it.
#ifndef SARN_TESTS_LIBRARY_TEST_H
#define SARN_TESTS_LIBRARY_TEST_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "core/state.h"
#include "include/sarn.h"
#include "support/device.h"
#include "support/fake_store.h"

// A row of the store as another process would have left it.
inline void put_device(int row, const std::string &mac, const std::string &state = "UP", const std::string &time = "") {
    for (const char *table : {"Sarnsignature", "DeviceIdList", "ConnectDeviceinfo"}) {
        fake::set(table, row, "DeviceMAC", mac);
    }
    fake::set("Sarnsignature", row, "Devicestate", state);
    fake::set("DeviceIdList", row, "Timestamp", time);
}

inline void put_devices(int count, const std::string &state = "UP") {
    for (int row = 0; row < count; ++row) put_device(row, mac_of(row), state, std::to_string(1000 + row));
}

inline int report(const std::string &mac, const std::string &state = "UP", int producer_id = 0) {
    const signature_record record = signature_of(mac, state);
    return update_device_signature(&record, producer_id);
}

inline auto with(auto record, auto change) {
    change(record);
    return record;
}

// The gates of calls rebuild nothing from now on.
inline void stop_rebuilds() { fake::set("general", 0, "SARNSyncTimestamp", "-1"); }

inline constexpr const char *NO_DEVICE = "00:00:00:00:00:00";
inline std::string mac_in(int row) { return fake::get("Sarnsignature", row, "DeviceMAC"); }

inline int find_row(std::string mac) {
    mac.resize(18);
    return check_update_mapping_table(mac.data(), SARN_PRODUCER_LOOKUP_ONLY);
}

using Lines = std::vector<std::string>;

// The store writes of a journal without those of builds and creations; times are left out.
inline Lines row_writes_of(const Lines &journal) {
    Lines writes;
    for (const std::string &line : journal) {
        const auto has = [&line](const char *part) { return line.find(part) != std::string::npos; };
        if (line.rfind("set_", 0) != 0 || has("DeviceMAC") || has("SARNSync")) continue;
        writes.push_back(line.substr(0, has("Timestamp ") ? line.find("Timestamp ") + 9 : line.npos));
    }
    return writes;
}
inline Lines take_row_writes() { return row_writes_of(fake::take_journal()); }

class LibraryTest : public testing::Test {
protected:
    void SetUp() override {
        fake::reset();
        fake::set("sarngeneral", 0, "MappingComplete", "done");
        // What the process before this test left.
        sarn::last_sync_time = -1;
    }
    void TearDown() override {
        EXPECT_EQ(fake::group_violations(), 0);
        fake::fail_threads(false);
        fake::reset();
        (void)sarn_uninit();
    }
    void start() {
        ASSERT_EQ(sarn_init(), SARN_OK);
        (void)fake::take_journal();
    }
};

#endif
