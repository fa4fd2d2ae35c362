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
    EXPECT_EQ(sarn_device_state_info(words, 8, SARN_ROWS_FREE), 256);
    fake::set("general", 0, "SARNSyncTimestamp", "1");
    int row = 0;
    for (const char *state : {"UP", "UP", "DOWN", "down", "unknown"}) put_device(40 * row, mac_of(row), state), ++row;
    fake::set("Sarnsignature", 250, "Devicestate", "UP");  // of a row that is free
    const std::pair<uint32_t, int> cases[] = {
        {SARN_ROWS_IN_USE, 5}, {SARN_ROWS_UP, 2}, {SARN_ROWS_DOWN, 1}, {SARN_ROWS_FREE, 251}};
    for (const auto &[selector, count] : cases)
        EXPECT_EQ(sarn_device_state_info(words, 8, selector), count) << selector;
    EXPECT_FALSE(sarn::has_row(words, 160));
    EXPECT_TRUE(sarn::has_row(words, 161));

    std::memset(words, 7, sizeof words);
    for (const auto &[count, selector] : {std::pair{7, 0}, {9, 0}, {8, 4}}) {
        EXPECT_EQ(sarn_device_state_info(words, count, static_cast<uint32_t>(selector)), SARN_ERR_SELECTOR);
    }
    EXPECT_EQ(sarn_device_state_info(nullptr, 8, 0), SARN_ERR_SELECTOR);
    fake::offer_changes(false);  // MACs that have not changed are not read again
    fake::fail_field("Sarnsignature", 250, "DeviceMAC");
    EXPECT_EQ(sarn_device_state_info(words, 8, 0), SARN_ERR_UNREADABLE);
    EXPECT_EQ(words[0], 0x07070707U) << "written only on success";
}

TEST_F(Presence, MacAndRowFindEachOther) {
    char mac[18] = "02:00:00:00:00:0a";
    EXPECT_EQ(check_macaddress_entry(mac), SARN_ERR_NOT_INITIALISED);
    put_device(7, "02:00:00:00:00:0A");
    put_device(200, "02:00:00:00:00:0A");
    start();
    EXPECT_EQ(check_macaddress_entry(mac), 7);
    EXPECT_STREQ(mac, "02:00:00:00:00:0A");
    EXPECT_EQ(check_macaddress_entry(std::string(NO_DEVICE).data()), SARN_ERR_NOT_FOUND);
    EXPECT_EQ(check_macaddress_entry(nullptr), SARN_ERR_MAC);
    EXPECT_EQ(mac_at(200), "02:00:00:00:00:0A");
    EXPECT_EQ(mac_at(8), NO_DEVICE);
    for (const int row : {256, -1}) EXPECT_EQ(mac_at(row), std::string(17, '\0')) << row;
    (void)sarn_uninit();
    EXPECT_EQ(mac_at(200), "02:00:00:00:00:0A") << "answered from what is known";
}

TEST_F(Presence, RecordByMac) {
    put_device(9, "02:00:00:00:00:0A");
    device_info record;
    const char *asked = "02:00:00:00:00:0a";
    EXPECT_EQ(get_device_info_by_mac(&record, asked), SARN_ERR_NOT_INITIALISED);
    start();
    ASSERT_EQ(get_device_info_by_mac(&record, asked), SARN_OK);
    EXPECT_STREQ(record.DeviceMAC, "02:00:00:00:00:0A");
    EXPECT_EQ(get_device_info_by_mac(&record, NO_DEVICE), SARN_ERR_MAC);
    EXPECT_EQ(get_device_info_by_mac(&record, nullptr), SARN_ERR_MAC);
    EXPECT_EQ(get_device_info_by_mac(nullptr, asked), SARN_ERR_NULL_RECORD);
    EXPECT_EQ(get_device_info_by_mac(&record, "02:00:00:00:00:0b"), SARN_ERR_UNKNOWN_DEVICE);
    stop_rebuilds();
    put_device(9, NO_DEVICE);
    EXPECT_EQ(get_device_info_by_mac(&record, asked), SARN_ERR_ROW_LOST_DEVICE);
}
