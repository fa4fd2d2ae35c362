#include <cstdlib>

#include "core/row_bitmap.h"
#include "support/library_test.h"

class Presence : public LibraryTest {
protected:
    std::string mac_at(int row) {
        char *block = check_macaddress_by_index(row);
        const std::string mac(block, 17);
        std::free(block);
        return mac;
    }
};

TEST_F(Presence, SelectorsPickRowsByState) {
    uint32_t words[8];
    EXPECT_EQ(sarn_device_state_info(words, 8, 0), SARN_ERR_NOT_READY);
    start();
    fake::set("general", 0, "SARNSyncTimestamp", "1");
    int row = 0;
    for (const char *state : {"UP", "UP", "DOWN", "down", "unknown"}) put_device(40 * row, mac_of(row), state), ++row;
    for (const int free : {250, 251}) fake::set("Sarnsignature", free, "Devicestate", free == 250 ? "UP" : "DOWN");
    const int counts[] = {5, 2, 1, 251};  // in use, up, down, free
    for (uint32_t selector = 0; selector < 4; ++selector)
        EXPECT_EQ(sarn_device_state_info(words, 8, selector), counts[selector]) << selector;
    EXPECT_FALSE(sarn::has_row(words, 160));
    EXPECT_TRUE(sarn::has_row(words, 161));

    for (const int count : {7, 9}) EXPECT_EQ(sarn_device_state_info(words, count, 0), SARN_ERR_SELECTOR);
    EXPECT_EQ(sarn_device_state_info(words, 8, 4), SARN_ERR_SELECTOR);
    EXPECT_EQ(sarn_device_state_info(nullptr, 8, 0), SARN_ERR_SELECTOR);
    fake::controls.offer_changes = false;  // MACs that have not changed are not read again
    fake::fail_field("Sarnsignature", 250, "DeviceMAC");
    EXPECT_EQ(sarn_device_state_info(words, 8, 0), SARN_ERR_UNREADABLE);
    EXPECT_TRUE(sarn::has_row(words, 161)) << "written only on success";
}

TEST_F(Presence, MacAndRowFindEachOther) {
    char mac[18] = "02:00:00:00:00:0a";
    device_info record;
    EXPECT_EQ(check_macaddress_entry(mac), SARN_ERR_NOT_INITIALISED);
    for (const int row : {7, 200}) put_device(row, DEVICE);
    start();
    EXPECT_EQ(check_macaddress_entry(mac), 7);
    EXPECT_STREQ(mac, DEVICE);
    EXPECT_EQ(check_macaddress_entry(std::string(NO_DEVICE).data()), SARN_ERR_NOT_FOUND);
    EXPECT_EQ(check_macaddress_entry(nullptr), SARN_ERR_MAC);
    EXPECT_EQ(mac_at(200), DEVICE);
    EXPECT_EQ(mac_at(8), NO_DEVICE);
    for (const int row : {256, -1}) EXPECT_EQ(mac_at(row), std::string(17, '\0')) << row;

    ASSERT_EQ(get_device_info_by_mac(&record, ASKED), SARN_OK);
    EXPECT_STREQ(record.DeviceMAC, DEVICE);
    EXPECT_EQ(get_device_info_by_mac(&record, nullptr), SARN_ERR_MAC);
    EXPECT_EQ(get_device_info_by_mac(nullptr, ASKED), SARN_ERR_NULL_RECORD);
    stop_rebuilds();
    put_device(200, NO_DEVICE);
    EXPECT_EQ(get_device_info_by_mac(&record, ASKED), SARN_ERR_ROW_LOST_DEVICE);
    (void)sarn_uninit();
    EXPECT_EQ(mac_at(7), DEVICE) << "answered from what is known";
}
