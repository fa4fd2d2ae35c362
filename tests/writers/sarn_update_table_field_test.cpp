#include "core/offline_cleanup.h"
#include "core/row_bitmap.h"
#include "support/library_test.h"

class UpdateTableField : public LibraryTest {
protected:
    void SetUp() override {
        LibraryTest::SetUp();
        put_device(3, "02:00:00:00:00:0A");
        stop_rebuilds();
        start();
    }
    int update(int code, const std::string &value, int producer_id = 0) {
        return sarn_update_table_field("02:00:00:00:00:0a", code, value.c_str(), static_cast<int>(value.size()) + 1,
                                       producer_id);
    }
};

TEST_F(UpdateTableField, EachCodeWritesItsField) {
    const std::pair<const char *, const char *> writes[] = {
        {"agent", "set_ascii Sarnsignature 3 DeviceHua agent"},
        {"1,3", "set_ascii Sarnsignature 3 DeviceDHCPOptions 1,3"},
        {"tv", "set_ascii Sarnsignature 3 DeviceDHCPHostname tv"},
        {"dhcpcd", "set_ascii Sarnsignature 3 DeviceDHCPVendor dhcpcd"},
        {"10.0.0.9", "set_ipv4 Sarnsignature 3 DeviceIP 10.0.0.9"},
        {"UP", "set_enum Sarnsignature 3 Devicestate UP"},
        {"", "set_ascii Sarnsignature 3 DeviceConnectionInterface "},
        {"", "set_ascii DeviceIdList 3 DeviceTypeCustom "},
        {"Anna's", "set_string DeviceIdList 3 DisplayNameCustom Anna's"},
        {"BOTH", "set_enum Sarnsignature 3 IsTagged BOTH"},
        {"X1", "set_ascii DeviceIdList 3 DisplayModelCustom X1"},
        {"block", "set_enum Sarnsignature 3 AllowOrBlock block"},
        {"home", "set_ascii ConnectDeviceinfo 3 ConnSSID home"},
        {"1", "set_ascii ConnectDeviceinfo 3 DeviceLinkRate 1"},
        {"2", "set_ascii ConnectDeviceinfo 3 DownloadBW 2"},
        {"3", "set_ascii ConnectDeviceinfo 3 UploadBW 3"},
        {"-60", "set_ascii ConnectDeviceinfo 3 DeviceSignalStrength -60"},
        {"02:aa:00:00:00:01", "set_mac ConnectDeviceinfo 3 ConnAPMac 02:AA:00:00:00:01"},
        {"Acme", "set_ascii DeviceIdList 3 DisplayBrandCustom Acme"},
        {"", "set_ascii Sarnsignature 3 DeviceCategory "},
        {"u-1", "set_ascii DeviceIdList 3 DeviceUUID u-1"},
    };
    int code = 0;
    for (const auto &[value, write] : writes) {
        Lines expected = {write};
        if (++code == 3)
            expected.insert(expected.end(), {"set_ascii DeviceIdList 3 DeviceHostname tv",
                                             "set_ascii DeviceIdList 3 DisplayNameDPI tv"});
        if (code == 12) expected.push_back("set_uint BRIXNotifyCDUPDATE 0 IndexCD 3");
        EXPECT_EQ(update(code, value), SARN_OK) << code;
        EXPECT_EQ(take_row_writes(), expected) << code;
    }
    EXPECT_EQ(update(5, "not an address"), SARN_OK);
    EXPECT_TRUE(take_row_writes().empty());
    for (const int kept : {1, 2, 3, 4}) EXPECT_EQ(update(kept, ""), SARN_OK) << kept;
    EXPECT_TRUE(take_row_writes().empty()) << "empty values of codes 1 to 4 keep the field";
    for (const int producer_id : {10, -10}) {
        EXPECT_EQ(update(12, "block", producer_id), SARN_OK);
        EXPECT_EQ(take_row_writes().size(), 1U) << "access of a quiet producer is not announced: " << producer_id;
    }
}

TEST_F(UpdateTableField, StateKeepsTheBooksAndAnnouncesTaggedDevices) {
    struct {
        const char *state, *tag;
        bool is_offline, is_announced;
    } const cases[] = {
        {"DOWN", "OFFLINE", true, true},  {"DOWN", "ONLINE", true, false},  {"DOWN", "both", true, true},
        {"down", "offline", false, true}, {"unknown", "BOTH", true, false}, {"up", "both", false, true},
        {"UP", "ONLINE", false, true},    {"UP", "untag", false, false},    {"up", "offline", false, false},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(std::string(c.state) + c.tag);
        fake::set("Sarnsignature", 3, "IsTagged", c.tag);
        fake::set("BRIXNotifyDTN", 0, "Index", "none");
        fake::set("DeviceIdList", 3, "Timestamp", "none");
        sarn::clear_gc_candidates();
        EXPECT_EQ(update(6, c.state), SARN_OK);
        EXPECT_EQ(sarn::has_row(sarn::offline_bitmap, 3), c.is_offline);
        EXPECT_EQ(fake::get("BRIXNotifyDTN", 0, "Index"), c.is_announced ? "3" : "none");
        EXPECT_EQ(fake::get("DeviceIdList", 3, "Timestamp") != "none", c.is_offline);
        EXPECT_EQ(gc_epochtime_array[0].row, c.is_offline ? 3 : -1);
    }
}

TEST_F(UpdateTableField, RefusalsWriteNothingAndKeepTheirOrder) {
    const std::string full(256, 'v');
    const char *known = "02:00:00:00:00:0a";
    struct {
        const char *name, *mac;
        int code;
        const char *value;
        int length, producer, result;
    } const cases[] = {
        {"producer before MAC", nullptr, 0, nullptr, 0, 15, SARN_ERR_PRODUCER},
        {"null MAC before code", nullptr, 0, nullptr, 0, 0, SARN_ERR_MAC},
        {"code 0", known, 0, "x", 2, 0, SARN_ERR_FIELD_CODE},
        {"code 22", known, 22, "x", 2, 0, SARN_ERR_FIELD_CODE},
        {"length 0", known, 9, "x", 0, 0, SARN_ERR_LENGTH},
        {"negative length", known, 9, "x", -1, 0, SARN_ERR_LENGTH},
        {"length 257", known, 9, full.c_str(), 257, 0, SARN_ERR_LENGTH},
        {"null value", known, 9, nullptr, 4, 0, SARN_ERR_LENGTH},
        {"bad MAC", "02-00-00-00-00-0a", 9, "x", 2, 0, SARN_ERR_MAC},
        {"unknown MAC", "02:00:00:00:00:99", 9, "x", 2, 0, SARN_ERR_NO_ROW},
        {"access point without NUL", known, 18, "02:aa:00:00:00:01", 17, 0, SARN_ERR_MAC},
        {"access point of zeros", known, 18, "00:00:00:00:00:00", 18, 0, SARN_ERR_MAC},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(sarn_update_table_field(c.mac, c.code, c.value, c.length, c.producer), c.result) << c.name;
        EXPECT_TRUE(take_row_writes().empty()) << c.name;
    }
    EXPECT_EQ(sarn_update_table_field((known + std::string(10000, 'x')).c_str(), 21, full.c_str(), 256, 0), SARN_OK);
    EXPECT_EQ(fake::get("DeviceIdList", 3, "DeviceUUID"), std::string(255, 'v'));
}
