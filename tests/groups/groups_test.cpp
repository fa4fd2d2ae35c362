// Another process comes between what a call looked up and the group in which it writes.
#include <map>

#include "core/row_bitmap.h"
#include "support/library_test.h"
#include "support/operations.h"

class Groups : public LibraryTest {
protected:
    static constexpr const char *MAC = "02:00:00:00:00:03";

    void SetUp() override {
        LibraryTest::SetUp();
        put_devices(6);
        put_device(3, MAC, "DOWN", "5");
    }
    // Once, before that many more writing groups have begun.
    static void before_write(int number, const std::function<void()> &other_process) {
        fake::on_operation([other_process, left = std::make_shared<int>(number)](const std::string &line) {
            if (line == "begin writing" && --*left == 0) other_process();
        });
    }
    static void remove_device() { put_device(3, NO_DEVICE, "unknown"); }
    static void replace_device() { put_device(3, mac_of(99)); }
    static void raise_device() { fake::set("Sarnsignature", 3, "Devicestate", "UP"); }
};

TEST_F(Groups, ACreationOrReportThatComesTooLateBeginsAgain) {
    start();
    const auto report_after = [](const std::string &mac, const std::function<void()> &other_process) {
        before_write(1, other_process);
        EXPECT_EQ(report(mac), SARN_OK);
        return find_row(mac);
    };
    EXPECT_EQ(report_after(mac_of(50), [] { put_device(6, mac_of(60)); }), 7);
    EXPECT_EQ(report_after(mac_of(51), [] { put_device(9, mac_of(51)); }), 9);
    EXPECT_EQ(mac_in(6) + mac_in(8), mac_of(60) + NO_DEVICE);
    EXPECT_EQ(report_after(MAC, remove_device), 3) << "a new row, the lowest free one";
    EXPECT_EQ(report_after(MAC, replace_device), 8);
    put_device(5, mac_of(61));  // so that a build follows, which ends at row 0 and takes it for free
    fake::on_operation([](const std::string &line) {
        fake::controls.fail_at = line == "get Sarnsignature 0 DeviceMAC" ? fake::controls.operations + 1 : 0;
    });
    EXPECT_EQ(report(mac_of(52)), SARN_ERR_NO_ROW);
    EXPECT_EQ(fake::get("DeviceIdList", 0, "DeviceMAC"), mac_of(0));
    EXPECT_EQ(fake::get("DeviceIdList", 3, "DeviceMAC"), mac_of(99));
}

TEST_F(Groups, ARowThatAnotherProcessFreesMeanwhileIsFound) {
    for (const int builds : {4, 5}) {
        SetUp();
        fake::set("general", 0, "SARNSyncTimestamp", "1");
        start();
        put_devices(255);
        put_device(255, mac_of(400), "DOWN");
        // Each clean-up comes too late for the device that it saw there.
        fake::on_operation([=, begun = std::make_shared<int>(0)](const std::string &line) {
            if (line != "begin writing" || ++*begun > builds) return;
            *begun == builds ? put_device(255, NO_DEVICE, "unknown") : put_device(255, mac_of(400 + *begun), "DOWN");
        });
        EXPECT_EQ(report(mac_of(300)), SARN_OK) << builds;
        EXPECT_EQ(mac_in(255), mac_of(300)) << builds;
        TearDown();
    }
    SetUp();
}

TEST_F(Groups, ARemovalIsNotRefusedForAnotherDevice) {
    start();
    EXPECT_EQ(get_total_sarn_entries_used(), 6);
    fake::on_operation([](const std::string &line) {
        if (line.starts_with("begin") || line == "get Sarnsignature 3 Devicestate") replace_device();
    });
    EXPECT_EQ(sarn_remove_macaddress_entry(MAC), SARN_ERR_NO_ROW);
}

TEST_F(Groups, OtherWritersRefuseALostDeviceAndWriteNothing) {
    for (const Operation &operation : OPERATIONS) {
        for (const auto other_process : {remove_device, replace_device}) {
            if (operation.call == query || operation.without_row == SARN_OK) continue;
            SetUp();
            start();
            before_write(1, other_process);
            EXPECT_EQ(operation.call(MAC, 0), operation.without_row) << operation.name;
            EXPECT_EQ(take_row_writes(), "") << operation.name;
            TearDown();
        }
    }
    SetUp();
    start();
    stop_rebuilds();
    replace_device();
    EXPECT_EQ(query(MAC, 0), SARN_ERR_ROW_LOST_DEVICE);
}

TEST_F(Groups, EachStepSeesWhatAnotherProcessWroteBeforeIt) {
    start();
    before_write(2, [] { fake::set("DeviceIdList", 3, "DeviceBrand", "Acme"); });
    EXPECT_EQ(update_device_displayname(MAC, "x", 1, 0), SARN_OK);
    EXPECT_EQ(fake::get("DeviceIdList", 3, "DisplayNameQuorvex"), "Acme");
    before_write(2, remove_device);
    EXPECT_EQ(update_device_displayname(MAC, "y", 1, 0), SARN_OK) << "the name is written and announced";
    EXPECT_EQ(fake::get("DeviceIdList", 3, "DisplayNameQuorvex"), "Acme");

    put_device(3, MAC, "DOWN");
    fake::set("FeatureCfg", 0, "NDNEnable", "1");
    before_write(4, [] { fake::set("Sarnsignature", 3, "NDNEventStatus", "1"); });
    EXPECT_EQ(report_detail(MAC, 0), SARN_OK);
    EXPECT_EQ(fake::get("BRIXConfig", 0, "NewDeviceIndex"), "0") << "the other one told BRIX";

    before_write(1, raise_device);
    EXPECT_EQ(sarn_remove_macaddress_entry(MAC), SARN_ERR_DEVICE_UP);
    EXPECT_EQ(mac_in(3), MAC);
}

TEST_F(Groups, AStartSparesWhoCameBackAndWhatAnotherStartRemoves) {
    put_devices(200);
    for (const int row : {3, 4}) put_device(row, mac_of(row), "DOWN", std::to_string(row));
    before_write(1, raise_device);
    EXPECT_EQ(sarn_init(), SARN_OK);
    EXPECT_EQ(mac_in(3) + mac_in(4), std::string(MAC) + NO_DEVICE);

    put_device(4, MAC, "UP", "9");
    for (const bool is_other_first : {true, false}) {
        (void)sarn_uninit();
        fake::set("sarngeneral", 0, "MappingComplete", "init");
        if (is_other_first) before_write(1, [] { fake::set("sarngeneral", 0, "MappingComplete", "going"); });
        EXPECT_EQ(sarn_init(), SARN_OK);
        EXPECT_EQ(mac_in(3), is_other_first ? MAC : NO_DEVICE);
        EXPECT_EQ(fake::get("sarngeneral", 0, "MappingComplete"), is_other_first ? "going" : "done");
    }
    EXPECT_EQ(sarn::mapping_table[3].index, 0) << "until a rebuild";
    EXPECT_EQ(get_total_sarn_entries_used(), 199);
    EXPECT_EQ(sarn::mapping_table[3].index, 3);
}

TEST_F(Groups, ABuildThatMissedSomethingIsNotTheLast) {
    using enum sarn::Field;
    fake::set("general", 0, "SARNSyncTimestamp", "1");
    start();
    int time = 1;
    for (const sarn::Field field : {Sarnsignature_Devicestate, DeviceIdList_Timestamp, ConnectDeviceinfo_DeviceMAC}) {
        const char *table = sarn::table_of(field).name, *name = sarn::spec_of(field).name;
        fake::set("ConnectDeviceinfo", 3, "DeviceMAC", mac_of(77));
        fake::set("general", 0, "SARNSyncTimestamp", std::to_string(++time));
        for (const bool is_failing : {true, false}) {
            fake::fail_field(table, 3, name, is_failing);
            EXPECT_EQ(get_total_sarn_entries_used(), 6) << name;
        }
        EXPECT_EQ(sarn::offline_bitmap[0], 1U << 3) << name;
        EXPECT_EQ(gc_epochtime_array[0].timestamp, 5) << name;
        EXPECT_EQ(fake::get("ConnectDeviceinfo", 3, "DeviceMAC"), MAC) << name;
    }
}

TEST_F(Groups, AReportThatTheStoreDroppedIsNoCandidate) {
    start();
    fake::fail_field("DeviceIdList", 1, "Timestamp");
    EXPECT_EQ(report(mac_of(1), "DOWN"), SARN_OK);
    EXPECT_EQ(fake::get("Sarnsignature", 1, "Devicestate"), "UP");
    for (const gc_candidate &slot : gc_epochtime_array) EXPECT_NE(slot.row, 1);
}

// In store operations, which are the same on every machine. The first call after a start builds once more.
TEST_F(Groups, NoCallOnAnUnchangedStoreReadsWhatIsKnown) {
    fake::set("general", 0, "SARNSyncTimestamp", "1");
    start();
    fake::set("Sarnsignature", 2, "Devicestate", "idle");
    EXPECT_EQ(get_total_sarn_entries_used(), 6);
    const auto count = [](const std::function<int()> &call, int result) {
        std::map<std::string, int> counts;
        fake::on_operation([&](const std::string &line) { ++counts[line.substr(0, line[0] == 'b' ? 7 : 3)]; });
        EXPECT_EQ(call(), result);
        std::string told;
        for (const auto &[operation, times] : counts) told += operation + " " + std::to_string(times) + " ";
        return told;
    };
    uint32_t words[8];
    EXPECT_EQ(count([] { return query("02:00:00:00:00:01", 0); }, SARN_OK), "begin r 1 get 35 ");
    EXPECT_EQ(count([&] { return sarn_device_state_info(words, 8, SARN_ROWS_UP); }, 4), "begin r 1 get 6 ");
    EXPECT_EQ(count([&] { return sarn_device_state_info(words, 8, SARN_ROWS_IN_USE); }, 6), "begin r 1 ");
    EXPECT_EQ(count(get_total_sarn_entries_used, 6), "");
    EXPECT_EQ(count([] { return set_field<SARN_FIELD_UUID>("02:00:00:00:00:01", 0); }, SARN_OK), "begin w 1 set 1 ");
    EXPECT_EQ(count([] { return sarn_remove_macaddress_entry("02:00:00:00:00:02"); }, SARN_OK),
              "begin r 1 begin w 1 get 2 set 41 ");
    EXPECT_EQ(count(get_total_sarn_entries_used, 5), "");
    EXPECT_EQ(count([] { return report(mac_of(1)); }, SARN_OK), "begin w 1 set 7 ");
}
