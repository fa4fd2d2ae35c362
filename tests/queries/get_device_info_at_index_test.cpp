#include <algorithm>

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

TEST_F(GetDeviceInfoAtIndex, SpellsAndCutsWhatItReadsAndMarksWhatItCannot) {
    fake::set("Sarnsignature", 255, "DeviceHua", std::string(300, 'h'));
    fake::set("Sarnsignature", 255, "DeviceIP", "10.100.200.9");
    fake::set("ConnectDeviceinfo", 255, "ConnAPMac", "0a:1b:2c:3d:4e:5f");
    fake::set("ConnectDeviceinfo", 255, "UploadBW", "12 Mbps too long");
    fake::set("DeviceIdList", 255, "Producerid", "4294967295");
    start();
    ASSERT_EQ(get_device_info_at_index(&record, 255), SARN_OK);
    EXPECT_STREQ(record.DeviceMAC, "02:00:00:00:00:FF");
    EXPECT_STREQ(record.ConnAPMac, "0A:1B:2C:3D:4E:5F");
    EXPECT_STREQ(record.DeviceIP, "10.100.200.9");
    EXPECT_EQ(record.DeviceHua, std::string(255, 'h'));
    EXPECT_STREQ(record.AllowOrBlock, "allow");
    EXPECT_EQ(uint32_t{record.Producerid}, 4294967295U);

    for (const char *field : {"DeviceIP", "DeviceHua"}) fake::fail_field("Sarnsignature", 255, field);
    fake::fail_field("DeviceIdList", 255, "Producerid");
    fake::fail_field("ConnectDeviceinfo", 255, "ConnAPMac");
    std::memset(&record, 'x', sizeof record);
    EXPECT_EQ(get_device_info_at_index(&record, 255), SARN_ERR_NOT_READABLE);
    EXPECT_EQ(std::string(record.DeviceHua, sizeof record.DeviceHua), std::string(256, '0'));
    EXPECT_STREQ(record.DeviceIP, SARN_IP_NOT_READABLE);
    EXPECT_EQ(uint32_t{record.Producerid}, 0U);
    EXPECT_STREQ(record.UploadBW, "12 Mbps ") << "without access point the rest is filled";
    EXPECT_EQ(std::string(record.ConnAPMac, sizeof record.ConnAPMac), std::string(18, 'x'));
}

TEST_F(GetDeviceInfoAtIndex, RefusalsLeaveTheRecordAlone) {
    EXPECT_EQ(get_device_info_at_index(&record, 255), SARN_ERR_NOT_INITIALISED);
    start();
    for (const uint32_t row : {256U, UINT32_MAX}) EXPECT_EQ(get_device_info_at_index(&record, row), SARN_ERR_ROW_RANGE);
    EXPECT_EQ(get_device_info_at_index(&record, 0), SARN_ERR_UNUSED_ROW);
    EXPECT_EQ(get_device_info_at_index(nullptr, 0), SARN_ERR_NULL_RECORD);
    stop_rebuilds();
    fake::fail_field("Sarnsignature", 255, "DeviceMAC");
    EXPECT_EQ(get_device_info_at_index(&record, 255), SARN_ERR_NOT_READABLE);
    fake::detach_threads(true);
    for (int i = 0; i < 10; ++i) EXPECT_EQ(get_device_info_at_index(&record, 255), SARN_ERR_NOT_READABLE);
    fake::detach_threads(false);
    fake::fail_threads(true);
    EXPECT_EQ(get_device_info_at_index(&record, 255), SARN_ERR_THREAD);
    const char *bytes = reinterpret_cast<const char *>(&record);
    EXPECT_EQ(std::count(bytes, bytes + sizeof record, 'x'), static_cast<long>(sizeof record));
}
