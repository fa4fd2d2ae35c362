#include <sstream>

#include "core/offline_cleanup.h"
#include "core/row_bitmap.h"
#include "support/library_test.h"

class UpdateTableField : public LibraryTest {
protected:
    static int update(int code, const std::string &value, int producer_id = 0) {
        return sarn_update_table_field(ASKED, code, value.c_str(), static_cast<int>(value.size()) + 1, producer_id);
    }
};

TEST_F(UpdateTableField, EachCodeWritesItsField) {
    std::istringstream fields(
        "Sarnsignature DeviceHua Sarnsignature DeviceDHCPOptions Sarnsignature DeviceDHCPHostname "
        "Sarnsignature DeviceDHCPVendor Sarnsignature DeviceIP Sarnsignature Devicestate "
        "Sarnsignature DeviceConnectionInterface DeviceIdList DeviceTypeCustom DeviceIdList DisplayNameCustom "
        "Sarnsignature IsTagged DeviceIdList DisplayModelCustom Sarnsignature AllowOrBlock ConnectDeviceinfo ConnSSID "
        "ConnectDeviceinfo DeviceLinkRate ConnectDeviceinfo DownloadBW ConnectDeviceinfo UploadBW "
        "ConnectDeviceinfo DeviceSignalStrength ConnectDeviceinfo ConnAPMac DeviceIdList DisplayBrandCustom "
        "Sarnsignature DeviceCategory DeviceIdList DeviceUUID");
    start_with_device();
    std::string table, field;
    for (int code = 1; fields >> table >> field; ++code) {
        const std::string place = table + " 3: " + field + "=";
        const bool is_ap = code == SARN_FIELD_AP_MAC;
        const std::string value = is_ap ? "02:AA:00:00:00:01" : code == SARN_FIELD_IP ? "10.0.0.9" : "x";
        std::string written = place + value;
        if (code == SARN_FIELD_DHCP_HOSTNAME) written += " | DeviceIdList 3: DeviceHostname=x DisplayNameDPI=x";
        if (code == SARN_FIELD_ALLOW_OR_BLOCK) written += " | BRIXNotifyCDUPDATE 0: IndexCD=3";
        EXPECT_EQ(update(code, value), SARN_OK);
        EXPECT_EQ(take_row_writes(), written);
        // An empty value keeps some fields, and is no address; a quiet producer's access is not announced.
        EXPECT_EQ(update(code, "", -10), is_ap ? SARN_ERR_MAC : SARN_OK);
        EXPECT_EQ(take_row_writes(), code <= SARN_FIELD_IP || is_ap ? "" : place) << code;
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
    start_with_device();
    for (const auto &c : cases) {
        fake::set("Sarnsignature", 3, "IsTagged", c.tag);
        sarn::clear_gc_candidates();
        EXPECT_EQ(update(SARN_FIELD_STATE, c.state), SARN_OK);
        const std::string written = "Sarnsignature 3: Devicestate=" + std::string(c.state),
                          time = " | DeviceIdList 3: Timestamp";
        EXPECT_EQ(take_row_writes(),
                  written + (c.is_offline ? time : "") + (c.is_announced ? " | BRIXNotifyDTN 0: Index=3" : ""))
            << c.tag;
        EXPECT_EQ(sarn::has_row(sarn::offline_bitmap, 3), c.is_offline) << c.state;
        EXPECT_EQ(gc_epochtime_array[0].row, c.is_offline ? 3 : -1) << c.state;
    }
}

TEST_F(UpdateTableField, RefusalsKeepTheirOrderAndFullValuesFit) {
    const std::string full(256, 'v');
    start_with_device();
    EXPECT_EQ(sarn_update_table_field(nullptr, 0, nullptr, 0, 15), SARN_ERR_PRODUCER);
    EXPECT_EQ(sarn_update_table_field(nullptr, 0, nullptr, 0, 0), SARN_ERR_MAC);
    for (const int code : {0, 22}) EXPECT_EQ(sarn_update_table_field(ASKED, code, nullptr, 2, 0), SARN_ERR_FIELD_CODE);
    for (const int length : {0, -1, 257}) EXPECT_EQ(sarn_update_table_field(ASKED, 9, "x", length, 0), SARN_ERR_LENGTH);
    EXPECT_EQ(sarn_update_table_field(ASKED, 9, nullptr, 4, 0), SARN_ERR_LENGTH);
    for (const char *ap : {"02:aa:00:00:00:01", NO_DEVICE})  // one without its NUL, one that is none
        EXPECT_EQ(sarn_update_table_field(ASKED, SARN_FIELD_AP_MAC, ap, ap == NO_DEVICE ? 18 : 17, 0), SARN_ERR_MAC);
    EXPECT_EQ(take_row_writes(), "");
    EXPECT_EQ(sarn_update_table_field((ASKED + full).c_str(), SARN_FIELD_UUID, full.c_str(), 256, 0), SARN_OK);
    EXPECT_EQ(fake::get("DeviceIdList", 3, "DeviceUUID"), std::string(255, 'v'));
}
