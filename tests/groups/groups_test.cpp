// Another process comes between what a call looked up and the group in which it writes.
#include <functional>
#include <map>

#include "core/row_bitmap.h"
#include "support/library_test.h"

class Groups : public LibraryTest {
protected:
    static constexpr const char *MAC = "02:00:00:00:00:03";

    void SetUp() override {
        LibraryTest::SetUp();
        FingPostProcessorName = FingPostProcessorType = 0;
        put_devices(6);
        put_device(3, MAC, "DOWN", "5");
    }
    // Once, before that many more writing groups have begun.
    void before_write(int number, std::function<void()> other_process) {
        fake::on_operation([other_process, left = std::make_shared<int>(number)](const std::string &line) {
            if (line == "begin writing" && --*left == 0) other_process();
        });
    }
    void before_next_write(std::function<void()> other_process) { before_write(1, std::move(other_process)); }
    static std::string mac_in(int row, const char *table = "Sarnsignature") {
        return fake::get(table, row, "DeviceMAC");
    }
    static void remove_device() { put_device(3, "00:00:00:00:00:00", "unknown"); }
    static void replace_device() { put_device(3, mac_of(99), "UP"); }
    static void raise_device() { fake::set("Sarnsignature", 3, "Devicestate", "UP"); }
};

TEST_F(Groups, CreationFindsItsRowTakenOrItsMacElsewhere) {
    start();
    before_next_write([] { put_device(6, mac_of(60)); });
    EXPECT_EQ(report(mac_of(50)), SARN_OK);
    EXPECT_EQ(mac_in(6), mac_of(60));
    EXPECT_EQ(find_row(mac_of(50)), 7);

    before_next_write([] { put_device(9, mac_of(51)); });
    EXPECT_EQ(report(mac_of(51)), SARN_OK);
    EXPECT_EQ(find_row(mac_of(51)), 9);
    EXPECT_EQ(mac_in(8), "00:00:00:00:00:00");
    EXPECT_EQ(get_total_sarn_entries_used(), 9);
}

TEST_F(Groups, ReportOfARemovedDeviceBeginsAgain) {
    start();
    before_next_write(remove_device);
    EXPECT_EQ(report(MAC), SARN_OK);
    EXPECT_EQ(mac_in(3), MAC) << "a new row, the lowest free one";
    before_next_write(replace_device);
    EXPECT_EQ(report(MAC), SARN_OK);
    EXPECT_EQ(fake::get("Sarnsignature", 3, "DeviceIP"), "192.168.1.7") << "from before";
    EXPECT_EQ(mac_in(3, "DeviceIdList"), mac_of(99));
    EXPECT_EQ(find_row(MAC), 6);
}

TEST_F(Groups, OtherWritersRefuseALostDeviceAndWriteNothing) {
    connected_device_record connection = {};
    device_detail_record detail = {};
    set_text(connection.mac, MAC);
    set_text(detail.mac, MAC);
    const char *mac = MAC;
    const std::pair<std::function<int()>, int> cases[] = {
        {[&] { return update_connected_device_info(&connection, 0); }, SARN_ERR_NO_ROW},
        {[&] { return update_device_detail(&detail, 0); }, SARN_ERR_NO_ROW},
        {[] { return sarn_update_table_field(MAC, SARN_FIELD_SSID, "x", 2, 0); }, SARN_ERR_NO_ROW},
        {[] { return sarn_update_table_field(MAC, SARN_FIELD_ALLOW_OR_BLOCK, "block", 6, 0); }, SARN_ERR_NO_ROW},
        {[] { return sarn_remove_macaddress_entry(MAC); }, SARN_ERR_NO_ROW},
        {[] { return update_device_displayname(MAC, "x", 1, 0); }, SARN_ERR_UNKNOWN_DEVICE},
        {[] { return update_device_displaytype(MAC, "x", 1, 0); }, SARN_ERR_UNKNOWN_DEVICE},
        {[] { return update_device_displaymodel(MAC, "x", 1, 0); }, SARN_ERR_UNKNOWN_DEVICE},
        {[] { return update_device_displaybrand(MAC, "x", 1, 0); }, SARN_ERR_UNKNOWN_DEVICE},
        {[&] { return sarn_update_pause_list(&mac, 0, 1, 0); }, SARN_ERR_NOTHING_CHANGED},
    };
    for (const auto &[call, result] : cases) {
        for (const auto other_process : {remove_device, replace_device}) {
            SCOPED_TRACE(&result - &cases[0].second);
            SetUp();
            start();
            before_next_write(other_process);
            EXPECT_EQ(call(), result);
            EXPECT_TRUE(take_row_writes().empty());
            TearDown();
        }
    }
}

TEST_F(Groups, ANameThatIsWrittenStaysSoWhenTheDeviceGoes) {
    start();
    before_write(2, remove_device);
    EXPECT_EQ(update_device_displayname(MAC, "x", 1, 0), SARN_OK);
    EXPECT_EQ(fake::get("BRIXNotifyCDUPDATE", 0, "IndexCD"), "3");
    EXPECT_EQ(fake::get("DeviceIdList", 3, "DisplayNameQuorvex"), "");
}

TEST_F(Groups, WhatAnotherProcessWroteBeforeTheLastStepCounts) {
    start();
    before_write(2, [] { fake::set("DeviceIdList", 3, "DeviceBrand", "Acme"); });
    EXPECT_EQ(update_device_displayname(MAC, "x", 1, 0), SARN_OK);
    EXPECT_EQ(fake::get("DeviceIdList", 3, "DisplayNameQuorvex"), "Acme");

    fake::set("FeatureCfg", 0, "NDNEnable", "1");
    device_detail_record detail = {};
    set_text(detail.mac, MAC);
    before_write(4, [] { fake::set("Sarnsignature", 3, "NDNEventStatus", "1"); });
    EXPECT_EQ(update_device_detail(&detail, 0), SARN_OK);
    EXPECT_EQ(fake::get("BRIXConfig", 0, "NewDeviceIndex"), "0") << "the other one told BRIX";

    stop_rebuilds();
    replace_device();
    device_info record;
    EXPECT_EQ(get_device_info_by_mac(&record, MAC), SARN_ERR_ROW_LOST_DEVICE);
}

TEST_F(Groups, APauseThatCannotBeginTellsOnlyAChange) {
    const char *mac = MAC;
    for (const auto &[access, result] : {std::pair("allow", SARN_OK), std::pair("block", SARN_ERR_NOTHING_CHANGED)}) {
        SetUp();
        start();
        fake::set("Sarnsignature", 3, "AllowOrBlock", access);
        before_next_write([] { fake::fail_at(1, false); });
        EXPECT_EQ(sarn_update_pause_list(&mac, 0, 1, 0), result) << access;
        EXPECT_TRUE(fake::has_fault_fired());
        EXPECT_EQ(fake::get("Sarnsignature", 3, "AllowOrBlock"), access);
        TearDown();
    }
}

TEST_F(Groups, RemovalSeesTheDeviceComeUp) {
    start();
    before_next_write(raise_device);
    EXPECT_EQ(sarn_remove_macaddress_entry(MAC), SARN_ERR_DEVICE_UP);
    EXPECT_EQ(mac_in(3), MAC);
}

TEST_F(Groups, CleanUpSparesWhoCameBack) {
    put_devices(200);
    put_device(3, MAC, "DOWN", "5");
    put_device(4, mac_of(4), "DOWN", "6");
    before_next_write(raise_device);
    EXPECT_EQ(sarn_init(), SARN_OK);
    EXPECT_EQ(mac_in(3), MAC);
    EXPECT_EQ(mac_in(4), "00:00:00:00:00:00");
}

TEST_F(Groups, OneProcessAloneRemovesDuplicates) {
    fake::set("sarngeneral", 0, "MappingComplete", "init");
    put_device(4, MAC, "UP", "9");
    before_next_write([] { fake::set("sarngeneral", 0, "MappingComplete", "going"); });
    EXPECT_EQ(sarn_init(), SARN_OK);
    EXPECT_EQ(mac_in(3), MAC) << "the other process removes it";
    EXPECT_EQ(fake::get("sarngeneral", 0, "MappingComplete"), "going");

    (void)sarn_uninit();
    fake::set("sarngeneral", 0, "MappingComplete", "init");
    fake::set("general", 0, "SARNSyncTimestamp", "1");
    put_device(3, MAC, "UP", "5");
    EXPECT_EQ(sarn_init(), SARN_OK);
    EXPECT_EQ(mac_in(3), NO_DEVICE);
    EXPECT_EQ(sarn::mapping_table[3].index, 0) << "until a rebuild";
    EXPECT_EQ(get_total_sarn_entries_used(), 5);
    EXPECT_EQ(sarn::mapping_table[3].index, 3);
}

TEST_F(Groups, ABuildThatMissedSomethingIsNotTheLast) {
    const struct {
        const char *table, *field;
    } cases[] = {{"Sarnsignature", "Devicestate"}, {"DeviceIdList", "Timestamp"}, {"ConnectDeviceinfo", "DeviceMAC"}};
    for (const auto &[table, field] : cases) {
        SetUp();
        fake::set("general", 0, "SARNSyncTimestamp", "1");
        start();
        fake::set("ConnectDeviceinfo", 3, "DeviceMAC", mac_of(77));
        fake::fail_field(table, 3, field);
        EXPECT_EQ(get_total_sarn_entries_used(), 6) << field;
        fake::fail_field(table, 3, field, false);
        EXPECT_EQ(get_total_sarn_entries_used(), 6) << field;
        EXPECT_EQ(sarn::offline_bitmap[0], 1U << 3) << field;
        EXPECT_EQ(gc_epochtime_array[0].timestamp, 5) << field;
        EXPECT_EQ(mac_in(3, "ConnectDeviceinfo"), MAC) << field;
        TearDown();
    }
}

TEST_F(Groups, ARowIsWrittenWhollyOrNotAtAllWhenTheGroupFails) {
    bool has_fired = true;
    for (int at = 1; has_fired; ++at) {
        SetUp();
        start();
        fake::fail_at(at, false);
        const int result = report(mac_of(50));
        has_fired = fake::has_fault_fired();
        fake::fail_at(0, false);
        EXPECT_TRUE(result == SARN_OK || result == SARN_ERR_NO_ROW) << at;
        EXPECT_TRUE(mac_in(6) == mac_of(50) || fake::get("DeviceIdList", 6, "Timestamp") == "") << at;
        EXPECT_EQ(mac_in(6, "DeviceIdList"), mac_in(6)) << at;
        EXPECT_EQ(mac_in(6, "ConnectDeviceinfo"), mac_in(6)) << at;
        (void)sarn_uninit();
    }
}

TEST_F(Groups, AReportIsKeptInARowWhoseMacCannotBeReadBack) {
    start();
    fake::on_operation([](const std::string &line) {
        const bool is_of_row = line.find("Sarnsignature 6 DeviceMAC") != std::string::npos;
        if (is_of_row) fake::fail_field("Sarnsignature", 6, "DeviceMAC", line.starts_with("get"));
    });
    EXPECT_EQ(report(mac_of(50)), SARN_OK);
    fake::on_operation(nullptr);
    EXPECT_EQ(mac_in(6), mac_of(50));
    EXPECT_EQ(fake::get("Sarnsignature", 6, "Devicestate"), "UP");
    EXPECT_LT(fake::operations(), 3000) << "the row was created again and again";
}

// In store operations, which are the same on every machine. The first call after a start builds once more.
TEST_F(Groups, NoCallOnAnUnchangedStoreReadsWhatIsKnown) {
    fake::set("general", 0, "SARNSyncTimestamp", "1");
    start();
    const std::string mac = mac_of(1), idle = mac_of(2);
    EXPECT_EQ(sarn_update_table_field(idle.c_str(), SARN_FIELD_STATE, "idle", 5, 0), SARN_OK);
    EXPECT_EQ(get_total_sarn_entries_used(), 6);
    const char *list = mac.c_str();
    device_info record;
    uint32_t words[8];
    const struct {
        const char *name;
        std::function<int()> call;
        int reads, writes, snapshots, transactions;
    } cases[] = {
        {"record by row", [&] { return get_device_info_at_index(&record, 1); }, 35, 0, 1, 0},
        {"record by MAC", [&] { return get_device_info_by_mac(&record, list); }, 35, 0, 1, 0},
        {"rows up", [&] { return sarn_device_state_info(words, 8, SARN_ROWS_UP) - 4; }, 6, 0, 1, 0},
        {"rows in use", [&] { return sarn_device_state_info(words, 8, SARN_ROWS_IN_USE) - 6; }, 0, 0, 1, 0},
        {"count", [&] { return get_total_sarn_entries_used() - 6; }, 0, 0, 0, 0},
        {"field", [&] { return sarn_update_table_field(list, SARN_FIELD_UUID, "u", 2, 0); }, 0, 1, 0, 1},
        {"pause", [&] { return sarn_update_pause_list(&list, 0, 1, 10); }, 1, 1, 0, 1},
        {"removal", [&] { return sarn_remove_macaddress_entry(idle.c_str()); }, 2, sarn::DEVICE_FIELD_COUNT + 1, 0, 1},
        {"count after it", [&] { return get_total_sarn_entries_used() - 5; }, 0, 0, 0, 0},
        {"signature", [&] { return report(mac); }, 0, 7, 0, 1},
    };
    for (const auto &c : cases) {
        std::map<std::string, int> count;
        fake::on_operation(
            [&](const std::string &line) { ++count[line.substr(0, line.starts_with("begin") ? 9 : 4)]; });
        EXPECT_EQ(c.call(), 0) << c.name;
        fake::on_operation(nullptr);
        EXPECT_LE(count["get_"], c.reads) << c.name;
        EXPECT_LE(count["set_"], c.writes) << c.name;
        EXPECT_LE(count["begin rea"], c.snapshots) << c.name;
        EXPECT_LE(count["begin wri"], c.transactions) << c.name;
    }
}
