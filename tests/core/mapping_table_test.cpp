#include "core/mapping_table.h"

#include "core/reset_device_entry.h"

#include "support/library_test.h"

class MappingTable : public LibraryTest {
protected:
    int create(std::string mac, int producer_id = 0) {
        mac.resize(18);
        return check_update_mapping_table(mac.data(), producer_id);
    }
};

TEST_F(MappingTable, GivesTheLowestFreeRowAndFindsItInAnyCase) {
    start();
    EXPECT_EQ(create("02:00:00:00:00:AA"), 0);
    for (int i = 1; i < 40; ++i) EXPECT_EQ(create(mac_of(i)), i);
    char spelled[18] = "02:00:00:00:00:aa";
    EXPECT_EQ(check_update_mapping_table(spelled, SARN_PRODUCER_LOOKUP_ONLY), 0);
    EXPECT_STREQ(spelled, "02:00:00:00:00:AA");
    EXPECT_EQ(create("12:00:00:00:00:AA"), 40);
    EXPECT_EQ(create("12:00:00:00:00:AA", SARN_PRODUCER_LOOKUP_ONLY), 40);
    put_device(17, NO_DEVICE);
    EXPECT_EQ(create(mac_of(500)), 17);
    EXPECT_EQ(create(mac_of(501), SARN_PRODUCER_LOOKUP_ONLY), SARN_ERR_LOOKUP_ONLY);
    EXPECT_EQ(get_total_sarn_entries_used(), 41);
}

// Of rows 32 to 63 before those below, and of these the lowest.
TEST_F(MappingTable, FindsOneOfTwoRowsOfAMac) {
    const struct { int rows[2], found; } cases[] = {{{3, 7}, 3}, {{31, 32}, 32}, {{40, 33}, 33}, {{5, 40}, 40}};
    for (const auto &c : cases) {
        start();
        for (const int row : c.rows) put_device(row, mac_of(9));
        EXPECT_EQ(create(mac_of(9), SARN_PRODUCER_LOOKUP_ONLY), c.found);
        for (const int row : c.rows) put_device(row, NO_DEVICE);
        (void)sarn_uninit();
    }
}

TEST_F(MappingTable, CreationWritesTheMacThreeTimesAndAnnouncesIt) {
    put_device(0, mac_of(0));
    fake::set("Sarnsignature", 1, "Devicestate", "UP");
    stop_rebuilds();
    start();
    ASSERT_EQ(create("02:00:00:00:01:0a"), 1);
    Lines writes;
    for (const auto &line : fake::take_journal()) {
        if (line.rfind("set", 0) == 0) writes.push_back(line.substr(0, line.find("Timestamp")));
    }
    EXPECT_EQ(writes,
              (Lines{"set_mac Sarnsignature 1 DeviceMAC 02:00:00:00:01:0A",
                     "set_mac DeviceIdList 1 DeviceMAC 02:00:00:00:01:0A",
                     "set_mac ConnectDeviceinfo 1 DeviceMAC 02:00:00:00:01:0A", "set_ascii general 0 SARNSync"}));
    EXPECT_FALSE(sarn::has_row(sarn::offline_bitmap, 1));
    EXPECT_TRUE(sarn::has_row(sarn::inuse_bitmap, 1));
}

TEST_F(MappingTable, FullTableRefusesANewMac) {
    put_devices(256);
    start();
    EXPECT_EQ(create(mac_of(600)), SARN_ERR_TABLE_FULL);
    EXPECT_EQ(create(mac_of(255)), 255);
    EXPECT_EQ(create_mapping_table(), 256);
    fake::set("general", 0, "SARNSyncTimestamp", "0");
    sarn::last_sync_time = 0;
    sarn::inuse_count = 255;  // the bitmap is full, yet the count says otherwise
    EXPECT_EQ(create(mac_of(600)), SARN_ERR_TABLE_FULL) << "the search ends";
}

TEST_F(MappingTable, BuildStopsAtAnUnreadableRowAndTheNextOneGoesThrough) {
    put_devices(20);
    put_device(3, mac_of(3), "DOWN", "7");
    put_device(5, NO_DEVICE, "unknown");
    stop_rebuilds();
    fake::fail_field("Sarnsignature", 10, "DeviceMAC");
    start();
    EXPECT_EQ(get_total_sarn_entries_used(), 9);
    EXPECT_EQ(sarn::offline_bitmap[0], 1U << 3);
    EXPECT_EQ(gc_epochtime_array[0].row, 3);
    EXPECT_EQ(find_row(mac_of(9)), 9);
    EXPECT_EQ(create(mac_of(600)), 5) << "the others go on";
    EXPECT_EQ(find_row(mac_of(11)), SARN_ERR_LOOKUP_ONLY);
    EXPECT_EQ(create_mapping_table(), SARN_ERR_UNREADABLE);
    EXPECT_EQ(mappingtablestatus, 1);
}

TEST_F(MappingTable, EnquiryTellsRowsInUseAndStateTellsOfflineOnes) {
    uint32_t words[8];
    EXPECT_EQ(sarn_table_enquiry(words, 8), SARN_ERR_NOT_READY);
    put_devices(33);
    const char *states[] = {"DOWN", "unknown", "down", "UP", "", "Unknown"};
    for (int row = 0; row < 6; ++row) put_device(row, mac_of(row), states[row]);
    start();
    EXPECT_EQ(sarn::offline_bitmap[0], 0b11U);
    EXPECT_EQ(sarn_table_enquiry(nullptr, 8), SARN_ERR_NULL_BUFFER);
    EXPECT_EQ(sarn_table_enquiry(words, 7), SARN_ERR_WORD_COUNT);
    EXPECT_EQ(sarn_table_enquiry(words, 8), SARN_OK);
    EXPECT_EQ(words[0], 0xFFFFFFFFU);
    EXPECT_EQ(words[1], 1U);
}

TEST_F(MappingTable, ResetWritesEveryFieldOfTheRowInOrder) {
    start();
    const sarn::Exclusive hold(sarn::state_lock);
    const auto always = [](int32_t) { return true; };
    for (const int row : {-1, 256}) EXPECT_EQ(sarn::reset_device_entry(row, always), SARN_ERR_ROW_RANGE);
    EXPECT_TRUE(fake::take_journal().empty());
    EXPECT_EQ(sarn::reset_device_entry(255, always), SARN_OK);
    EXPECT_EQ(sarn::inuse_count, -1);
    const Lines journal = fake::take_journal();
    ASSERT_EQ(journal.size(), 41U);
    const std::pair<size_t, const char *> landmarks[] = {
        {0, "set_mac DeviceIdList 255 DeviceMAC 00:00:00:00:00:00"},
        {1, "set_mac ConnectDeviceinfo 255 DeviceMAC 00:00:00:00:00:00"},
        {2, "set_mac Sarnsignature 255 DeviceMAC 00:00:00:00:00:00"},
        {4, "set_bool Sarnsignature 255 SARNSignatureUpdateStatus 0"},
        {11, "set_enum Sarnsignature 255 AllowOrBlock allow"},
        {12, "set_enum Sarnsignature 255 Devicestate unknown"},
        {13, "set_enum Sarnsignature 255 IsTagged untag"},
        {16, "set_ipv4 Sarnsignature 255 DeviceIP 0.0.0.0"},
        {24, "set_string DeviceIdList 255 DisplayNameCustom "},
        {34, "set_int DeviceIdList 255 Producerid 100"},
        {40, "set_ascii ConnectDeviceinfo 255 UploadBW "},
    };
    for (const auto &[at, line] : landmarks) EXPECT_EQ(journal[at], line);
}
