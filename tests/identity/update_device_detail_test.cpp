#include "support/library_test.h"

class UpdateDeviceDetail : public LibraryTest {
protected:
    void SetUp() override {
        LibraryTest::SetUp();
        FingPostProcessorName = FingPostProcessorType = ndnEnableFlag = ndnEventStatus = 0;
        put_device(3, "02:00:00:00:00:0A");
        stop_rebuilds();
        start();
        set_text(record.mac, "02:00:00:00:00:0a");
        set_text(record.brand, "Acme");
        set_text(record.model, "X1");
        set_text(record.type, "SMART_PLUG");
    }
    device_detail_record record = {};
};

TEST_F(UpdateDeviceDetail, StoresDerivesAndNotifiesOnce) {
    fake::set("FeatureCfg", 0, "NDNEnable", "1");
    ASSERT_EQ(update_device_detail(&record, 20), SARN_OK);
    EXPECT_EQ(take_row_writes(),
              (Lines{"set_ascii DeviceIdList 3 DeviceModel X1", "set_ascii DeviceIdList 3 DeviceBrand Acme",
                     "set_ascii DeviceIdList 3 DeviceOS ", "set_ascii DeviceIdList 3 DeviceTypeDPI SMART_PLUG",
                     "set_ascii DeviceIdList 3 DeviceMacVendor ", "set_ascii DeviceIdList 3 Timestamp",
                     "set_int DeviceIdList 3 Producerid 20", "set_ascii DeviceIdList 3 DeviceTypeQuorvex Smart Plug",
                     "set_ascii DeviceIdList 3 DisplayNameQuorvex Acme-X1", "set_uint BRIXConfig 0 FeatureId 1",
                     "set_uint BRIXConfig 0 NewDeviceIndex 3", "set_uint BRIXConfig 0 ProcessId 4",
                     "set_bool Sarnsignature 3 NDNEventStatus 1"}));
    EXPECT_EQ(FingPostProcessorName, 1);
    ASSERT_EQ(update_device_detail(&record, 20), SARN_OK);
    EXPECT_EQ(take_row_writes().size(), 9U) << "the second time BRIX hears nothing";
    EXPECT_EQ(dd_thread_exit_status, SARN_OK);
}

TEST_F(UpdateDeviceDetail, AnotherOneThatClearsTheFlagDoesNotMakeTheTypeAUsers) {
    fake::set("DeviceIdList", 3, "DeviceTypeCustom", "mine");
    fake::on_operation([](const std::string &line) {
        if (line == "get_ascii general 0 SARNSyncTimestamp") FingPostProcessorType = 0;
    });
    ASSERT_EQ(update_device_detail(&record, 0), SARN_OK);
    fake::on_operation(nullptr);
    EXPECT_EQ(fake::get("DeviceIdList", 3, "DeviceTypeCustom"), "mine");
    EXPECT_EQ(fake::get("DeviceIdList", 3, "DeviceTypeQuorvex"), "Smart Plug");
}

TEST_F(UpdateDeviceDetail, NobodyIsNotifiedWithoutTheFeatureOrADerivation) {
    ASSERT_EQ(update_device_detail(&record, 0), SARN_OK);
    EXPECT_EQ(fake::get("Sarnsignature", 3, "NDNEventStatus"), "0");
    fake::set("FeatureCfg", 0, "NDNEnable", "1");
    // The second and third thread, those of display type and name, fail in turn.
    for (const char *last_line :
         {"set_int DeviceIdList 3 Producerid 0", "set_ascii DeviceIdList 3 DeviceTypeQuorvex Smart Plug"}) {
        fake::on_operation([last_line](const std::string &line) {
            if (line == last_line) fake::fail_threads(true);
        });
        ASSERT_EQ(update_device_detail(&record, 0), SARN_OK);
        fake::fail_threads(false);
        EXPECT_EQ(take_row_writes().back(), last_line);
    }
    fake::on_operation(nullptr);
    ASSERT_EQ(update_device_detail(&record, 0), SARN_OK);
    EXPECT_EQ(fake::get("BRIXConfig", 0, "NewDeviceIndex"), "3");
}

TEST_F(UpdateDeviceDetail, RebuildsWhateverTheTimestampSays) {
    put_device(9, "02:00:00:00:00:0B");  // another process' device; the gates are switched off
    set_text(record.mac, "02:00:00:00:00:0b");
    mappingtablestatus = 0;
    EXPECT_EQ(update_device_detail(&record, 0), SARN_ERR_NO_ROW) << "a rebuild that builds nothing knows no row";
    mappingtablestatus = 1;
    EXPECT_EQ(update_device_detail(&record, 0), SARN_OK);
    EXPECT_EQ(fake::get("DeviceIdList", 9, "DeviceModel"), "X1");
}

TEST_F(UpdateDeviceDetail, RefusalsWriteNothing) {
    struct {
        const char *name;
        device_detail_record record;
        int producer, result;
        const char *last_log;
    } const cases[] = {
        {"producer", record, 101, SARN_ERR_PRODUCER, "log 4 SARN:Illegal Producer is passed :-3\n"},
        {"not hexadecimal", with(record, [](auto &r) { r.mac[0] = 'g'; }), 0, SARN_ERR_MAC,
         "log 1 SARN:ILLEGAL MAC address passed(g2:00:00:00:00:0a)in Device Detail.Operation not permitted\n"},
        {"no device's MAC", with(record, [](auto &r) { set_text(r.mac, NO_DEVICE); }), 0, SARN_ERR_MAC,
         "log 1 SARN:ILLEGAL MAC address passed(00:00:00:00:00:00)in Device Detail.Operation not permitted\n"},
        {"no row", with(record, [](auto &r) { set_text(r.mac, mac_of(9)); }), 0, SARN_ERR_NO_ROW,
         "log 4 SARN:ILLEGAL MAC address passed(02:00:00:00:00:09) in device detail information\n"},
        {"endless type", with(record, [](auto &r) { std::memset(r.type, 't', sizeof r.type); }), 0,
         SARN_ERR_UNTERMINATED, "log 1 SARN:MAC Address sanity check passed \n"},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(update_device_detail(&c.record, c.producer), c.result) << c.name;
        const Lines journal = fake::take_journal();
        EXPECT_EQ(journal.back(), c.last_log) << c.name;
        EXPECT_TRUE(row_writes_of(journal).empty()) << c.name;
    }
    EXPECT_EQ(update_device_detail(nullptr, 0), SARN_ERR_NULL_RECORD);
    (void)sarn_uninit();
    EXPECT_EQ(update_device_detail(&record, 0), SARN_ERR_NOT_INITIALISED);
    EXPECT_EQ(sarn_init(), SARN_OK) << "the refused rebuild did not mark the library initialised";
}
