#include "support/library_test.h"

class UpdateConnectedDeviceInfo : public LibraryTest {
protected:
    void SetUp() override {
        LibraryTest::SetUp();
        put_device(3, "02:00:00:00:00:0A");
        fake::set("ConnectDeviceinfo", 3, "ConnSSID", "old");
        stop_rebuilds();
        start();
        set_text(record.mac, "02:00:00:00:00:0a");
        set_text(record.ap_mac, "02:aa:00:00:00:01");
        set_text(record.link_rate, "866");
    }
    connected_device_record record = {};
};

TEST_F(UpdateConnectedDeviceInfo, WritesAllTextsInOrderAndEmptyOnesToo) {
    ASSERT_EQ(update_connected_device_info(&record, 10), SARN_OK);
    EXPECT_EQ(take_row_writes(),
              (Lines{"set_ascii ConnectDeviceinfo 3 ConnSSID ", "set_ascii ConnectDeviceinfo 3 DeviceLinkRate 866",
                     "set_ascii ConnectDeviceinfo 3 DownloadBW ", "set_ascii ConnectDeviceinfo 3 UploadBW ",
                     "set_ascii ConnectDeviceinfo 3 DeviceSignalStrength ",
                     "set_mac ConnectDeviceinfo 3 ConnAPMac 02:AA:00:00:00:01"}));
    set_text(record.ap_mac, "none");
    ASSERT_EQ(update_connected_device_info(&record, 10), SARN_OK);
    EXPECT_EQ(fake::get("ConnectDeviceinfo", 3, "ConnAPMac"), "02:AA:00:00:00:01");
}

TEST_F(UpdateConnectedDeviceInfo, RefusalsWriteNothing) {
    const std::string illegal = "log 4 SARN:ILLEGAL MAC address passed(";
    struct {
        connected_device_record record;
        int producer, result;
        std::string last_log;
    } const cases[] = {
        {record, 5, SARN_ERR_PRODUCER, "log 4 SARN:SARN Illegal Producer is passed :-3\n"},
        {with(record, [](auto &r) { set_text(r.mac, NO_DEVICE); }), 0, SARN_ERR_MAC,
         illegal + "00:00:00:00:00:00) in Connect device info .Operation not permitted\n"},
        {with(record, [](auto &r) { set_text(r.mac, "02:00:00:00:00:bb"); }), 0, SARN_ERR_NO_ROW,
         illegal + "02:00:00:00:00:bb) in connected device info .Operation not permitted\n"},
        {with(record, [](auto &r) { std::memset(r.ssid, 's', sizeof r.ssid); }), 0, SARN_ERR_UNTERMINATED,
         "log 1 SARN:MAC Address sanity check passed \n"},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(update_connected_device_info(&c.record, c.producer), c.result);
        const Lines journal = fake::take_journal();
        EXPECT_EQ(journal.empty() ? "" : journal.back(), c.last_log) << c.result;
    }
    EXPECT_EQ(fake::get("ConnectDeviceinfo", 3, "ConnSSID"), "old");
    EXPECT_EQ(update_connected_device_info(nullptr, 0), SARN_ERR_NULL_RECORD);
}
