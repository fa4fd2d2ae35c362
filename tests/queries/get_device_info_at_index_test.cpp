#include "support/library_test.h"

class GetDeviceInfoAtIndex : public LibraryTest {
protected:
    void SetUp() override {
        LibraryTest::SetUp();
        put_device(255, "02:00:00:00:00:ff");
        std::memset(&record, 'x', sizeof record);
    }
    device_info record;
};

TEST_F(GetDeviceInfoAtIndex, SpellsAndCutsWhatItReads) {
    fake::set("Sarnsignature", 255, "DeviceHua", std::string(300, 'h'));
    fake::set("Sarnsignature", 255, "DeviceIP", "10.100.200.9");
    fake::set("ConnectDeviceinfo", 255, "ConnAPMac", "0a:1b:2c:3d:4e:5f");
    fake::set("ConnectDeviceinfo", 255, "UploadBW", "12 Mbps too long");
    fake::set("DeviceIdList", 255, "Producerid", "4294967295");
    fake::set("DeviceIdList", 255, "DisplayNameCustom", "Anna's tablet");
    start();
    ASSERT_EQ(get_device_info_at_index(&record, 255), SARN_OK);
    EXPECT_STREQ(record.DeviceMAC, "02:00:00:00:00:FF");
    EXPECT_STREQ(record.ConnAPMac, "0A:1B:2C:3D:4E:5F");
    EXPECT_STREQ(record.DeviceIP, "10.100.200.9");
    EXPECT_EQ(record.DeviceHua, std::string(255, 'h'));
    EXPECT_STREQ(record.UploadBW, "12 Mbps ");
    EXPECT_STREQ(record.DisplayNameCustom, "Anna's tablet");
    EXPECT_STREQ(record.AllowOrBlock, "allow");
    EXPECT_EQ(uint32_t{record.Producerid}, 4294967295U);
}

TEST_F(GetDeviceInfoAtIndex, ReadsInTheOrderOfTheContract) {
    stop_rebuilds();
    start();
    std::string reads;
    fake::on_operation([&](const std::string &line) {
        if (line.find(" 255 ") != std::string::npos) reads += line.substr(line.rfind(' '));
    });
    ASSERT_EQ(get_device_info_at_index(&record, 255), SARN_OK);
    fake::on_operation(nullptr);
    EXPECT_EQ(
        reads,
        " DeviceMAC DeviceDHCPOptions DeviceHua DeviceIP DeviceConnectionInterface DeviceCategory Devicestate"
        " DeviceDHCPHostname DeviceDHCPVendor IsTagged AllowOrBlock DeviceHostname DeviceBrand DeviceModel DeviceOS"
        " DeviceMacVendor DeviceOSVersion DeviceTypeCustom DeviceTypeDPI DeviceTypeQuorvex DeviceUUID"
        " DisplayModelCustom DisplayBrandCustom DisplayNameCustom DisplayNameDPI DisplayNameQuorvex"
        " FingResponsestatus Producerid Timestamp ConnSSID DeviceLinkRate DeviceSignalStrength DownloadBW UploadBW"
        " ConnAPMac");
}

TEST_F(GetDeviceInfoAtIndex, FailedReadsLeaveTheirMark) {
    for (const char *field : {"DeviceIP", "DeviceHua"}) fake::fail_field("Sarnsignature", 255, field);
    fake::fail_field("DeviceIdList", 255, "Producerid");
    fake::set("ConnectDeviceinfo", 255, "UploadBW", "9");
    start();
    ASSERT_EQ(get_device_info_at_index(&record, 255), SARN_OK);
    EXPECT_EQ(std::string(record.DeviceHua, sizeof record.DeviceHua), std::string(256, '0'));
    EXPECT_STREQ(record.DeviceIP, "48.48.48.48");
    EXPECT_EQ(uint32_t{record.Producerid}, 0U);

    std::memset(&record, 'x', sizeof record);
    fake::fail_field("ConnectDeviceinfo", 255, "ConnAPMac");
    EXPECT_EQ(get_device_info_at_index(&record, 255), SARN_ERR_NOT_READABLE);
    EXPECT_STREQ(record.UploadBW, "9") << "without access point the rest is filled";
    EXPECT_EQ(std::string(record.ConnAPMac, sizeof record.ConnAPMac), std::string(18, 'x'));
}

TEST_F(GetDeviceInfoAtIndex, RefusalsLeaveTheRecordAlone) {
    start();
    for (const uint32_t row : {256U, UINT32_MAX}) EXPECT_EQ(get_device_info_at_index(&record, row), SARN_ERR_ROW_RANGE);
    EXPECT_EQ(get_device_info_at_index(&record, 0), SARN_ERR_UNUSED_ROW);
    (void)fake::take_journal();
    stop_rebuilds();
    EXPECT_EQ(get_device_info_at_index(nullptr, 0), SARN_ERR_NULL_RECORD);
    EXPECT_TRUE(fake::take_journal().empty()) << "a null record logs nothing";
    fake::fail_field("Sarnsignature", 255, "DeviceMAC");
    EXPECT_EQ(get_device_info_at_index(&record, 255), SARN_ERR_NOT_READABLE);
    fake::fail_threads(true);
    EXPECT_EQ(get_device_info_at_index(&record, 255), SARN_ERR_THREAD);
    const char *bytes = reinterpret_cast<const char *>(&record);
    EXPECT_EQ(std::count(bytes, bytes + sizeof record, 'x'), static_cast<long>(sizeof record));
}
