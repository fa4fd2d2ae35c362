// A library on a fake store, and short ways to put devices into it.
#ifndef SARN_TESTS_LIBRARY_TEST_H
#define SARN_TESTS_LIBRARY_TEST_H

#include <gtest/gtest.h>

#include "core/state.h"
#include "include/sarn.h"
#include "support/device.h"
#include "support/fake_store.h"

using Lines = std::vector<std::string>;
using Given = std::vector<std::pair<sarn::Field, std::string>>;
inline constexpr const char *NO_DEVICE = "00:00:00:00:00:00";
inline constexpr const char *DEVICE = "02:00:00:00:00:0A", *ASKED = "02:00:00:00:00:0a";

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

inline std::string mac_in(int row) { return fake::get("Sarnsignature", row, "DeviceMAC"); }

inline int find_row(std::string mac, int producer_id = SARN_PRODUCER_LOOKUP_ONLY) {
    mac.resize(18);
    return check_update_mapping_table(mac.data(), producer_id);
}

inline int report(const std::string &mac, const std::string &state = "UP", int producer_id = 0) {
    const signature_record record = signature_of(mac, state);
    return update_device_signature(&record, producer_id);
}

// The gates of calls rebuild nothing from now on.
inline void stop_rebuilds() { fake::set("general", 0, "SARNSyncTimestamp", "-1"); }

// What was written, as "Sarnsignature 3: Devicestate=DOWN IsTagged=BOTH | DeviceIdList 3: Timestamp", without what
// builds and creations write, and without times.
inline std::string take_row_writes() {
    std::string writes, row;
    for (const std::string &line : fake::take_writes()) {
        const size_t field = line.find(' ', line.find(' ') + 1), value = line.find(' ', field + 1);
        std::string change = line.substr(field, value - field);
        if (change == " DeviceMAC" || change == " SARNSyncTimestamp") continue;
        if (change != " Timestamp") change += "=" + line.substr(value + 1);
        if (row != line.substr(0, field)) writes += (row.empty() ? "" : " | ") + line.substr(0, field) + ":";
        row = line.substr(0, field);
        writes += change;
    }
    return writes;
}

class LibraryTest : public testing::Test {
protected:
    void SetUp() override {
        fake::reset();
        fake::set("sarngeneral", 0, "MappingComplete", "done");
        // What the process before this test left.
        sarn::last_sync_time = -1;
        FingPostProcessorName = FingPostProcessorType = ndnEnableFlag = ndnEventStatus = 0;
    }
    void TearDown() override {
        EXPECT_EQ(fake::controls.violations, 0);
        fake::fail_threads(false);
        fake::reset();
        (void)sarn_uninit();
    }
    void start() {
        ASSERT_EQ(sarn_init(), SARN_OK);
        (void)fake::take_writes();
        (void)fake::take_log();
    }
    // With DEVICE in row 3, and no rebuilds.
    void start_with_device() {
        put_device(3, DEVICE);
        stop_rebuilds();
        start();
    }
    // What a call answers and writes on a library so started, with these fields of row 3 or of the one row.
    void expect(const Given &given, const std::function<int()> &call, int result, const std::string &writes = "") {
        SCOPED_TRACE(testing::PrintToString(given.empty() ? "" : given[0].second) + ", writes " + writes);
        SetUp();
        for (const auto &[field, value] : given) {
            const auto &[table, rows] = sarn::table_of(field);
            fake::set(table, rows == 1 ? 0 : 3, sarn::spec_of(field).name, value);
        }
        start_with_device();
        EXPECT_EQ(call(), result);
        EXPECT_EQ(take_row_writes(), writes);
        TearDown();
    }
};

#endif
