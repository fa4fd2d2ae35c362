#include "core/mapping_table.h"

#include <algorithm>
#include <set>

#include "core/reset_device_entry.h"
#include "support/library_test.h"

class MappingTable : public LibraryTest {
protected:
    static int create(const std::string &mac) { return find_row(mac, 0); }
};

TEST_F(MappingTable, IsBuiltAgainAsTheSyncTimestampSays) {
    const std::tuple<const char *, bool, bool> cases[] = {
        {"-1", false, false}, {"0", true, false}, {"1700000000", true, true}, {"unreadable", true, false}};
    for (const auto &[stored, first_sees, second_sees] : cases) {
        SetUp();
        start();
        fake::set("general", 0, "SARNSyncTimestamp", stored);
        fake::fail_field("general", 0, "SARNSyncTimestamp", stored[0] == 'u');
        put_device(4, mac_of(4));
        EXPECT_EQ(get_total_sarn_entries_used(), first_sees) << stored;
        put_device(5, mac_of(5));
        EXPECT_EQ(get_total_sarn_entries_used(), first_sees + second_sees) << stored;
        TearDown();
    }
}

TEST_F(MappingTable, GivesTheLowestFreeRowAndFindsItInAnyCase) {
    start();
    char spelled[18] = "02:00:00:00:00:aa";
    EXPECT_EQ(check_update_mapping_table(spelled, 0), 0);
    EXPECT_STREQ(spelled, "02:00:00:00:00:AA");
    for (int i = 1; i < 40; ++i) EXPECT_EQ(create(mac_of(i)), i);
    EXPECT_EQ(create("12:00:00:00:00:AA"), 40);
    EXPECT_EQ(find_row("12:00:00:00:00:aa"), 40);
    EXPECT_EQ(find_row("02:00:00:00:00:aa"), 0);
    put_device(17, NO_DEVICE, "unknown");
    (void)fake::take_writes();
    EXPECT_EQ(create(mac_of(500)), 17);
    EXPECT_NE(sarn::offline_bitmap[0] & 1U << 17, 0U);
    Lines writes = fake::take_writes();
    std::erase_if(writes, [](const auto &line) { return line.find(" 17 ") == line.npos && line[0] != 'g'; });
    ASSERT_EQ(writes.size(), 4U);
    for (size_t i = 0; i < 3; ++i) EXPECT_TRUE(writes[i].ends_with(" 17 DeviceMAC " + mac_of(500))) << writes[i];
    EXPECT_EQ(writes[3], "general 0 SARNSyncTimestamp 1800000000");
    EXPECT_EQ(find_row(mac_of(501)), SARN_ERR_LOOKUP_ONLY);
    EXPECT_EQ(get_total_sarn_entries_used(), 41);
}

TEST_F(MappingTable, FullTableRefusesANewMacAndIsCleanedUpAllTheSame) {
    put_devices(256);
    stop_rebuilds();
    start();
    EXPECT_EQ(create(mac_of(600)), SARN_ERR_TABLE_FULL);
    put_device(40, mac_of(40), "DOWN", "5");
    ASSERT_EQ(create_mapping_table(), 256);
    EXPECT_EQ(report(mac_of(600)), SARN_ERR_NO_ROW);
    EXPECT_EQ(report(mac_of(600)), SARN_OK);
    EXPECT_EQ(mac_in(40), mac_of(600));
}

TEST_F(MappingTable, BuildStopsAtAnUnreadableRowAndTheOthersGoOn) {
    uint32_t words[8];
    EXPECT_EQ(sarn_table_enquiry(words, 8), SARN_ERR_NOT_READY);
    const char *states[] = {"UP", "DOWN", "unknown", "down", ""};
    for (int row = 0; row < 20; ++row) put_device(row, mac_of(row), states[row % 5], "7");
    put_device(5, NO_DEVICE, "unknown");
    stop_rebuilds();
    fake::fail_field("Sarnsignature", 10, "DeviceMAC");
    start();
    EXPECT_EQ(get_total_sarn_entries_used(), 9);
    EXPECT_EQ(sarn::offline_bitmap[0], 0b11000110U);
    EXPECT_EQ(sarn_table_enquiry(words, 8), SARN_OK);
    EXPECT_EQ(words[0], 0b1111011111U);
    EXPECT_EQ(sarn_table_enquiry(nullptr, 8), SARN_ERR_NULL_BUFFER);
    EXPECT_EQ(sarn_table_enquiry(words, 7), SARN_ERR_WORD_COUNT);
    EXPECT_EQ(gc_epochtime_array[0].row, 1);
    EXPECT_EQ(find_row(mac_of(9)), 9);
    EXPECT_EQ(find_row(mac_of(11)), SARN_ERR_LOOKUP_ONLY);
    for (const std::string &mac : {std::string(NO_DEVICE), mac_of(600)}) EXPECT_EQ(create(mac), 5) << mac;
    EXPECT_EQ(create_mapping_table(), SARN_ERR_UNREADABLE);
    EXPECT_EQ(mappingtablestatus, 1);
}

TEST_F(MappingTable, ResetWritesEveryFieldOfTheRowAndTheMacsFirst) {
    start();
    const sarn::Exclusive hold(sarn::state_lock);
    const auto always = [](int32_t) -> int32_t { return SARN_OK; };
    for (const int row : {-1, 256}) EXPECT_EQ(sarn::reset_device_entry(row, always), SARN_ERR_ROW_RANGE);
    EXPECT_EQ(sarn::reset_device_entry(255, always), SARN_OK);
    const Lines writes = fake::take_writes();
    EXPECT_EQ(std::set<std::string>(writes.begin(), writes.end()).size(), sarn::DEVICE_FIELD_COUNT + 1U);
    for (size_t i = 0; i < 3; ++i) EXPECT_TRUE(writes[i].ends_with(" 255 DeviceMAC 00:00:00:00:00:00"));
    EXPECT_EQ(writes[3], "general 0 SARNSyncTimestamp 1800000000");
    for (const char *line : {"Sarnsignature 255 AllowOrBlock allow", "Sarnsignature 255 Devicestate unknown",
                             "Sarnsignature 255 IsTagged untag", "DeviceIdList 255 Producerid 100"})
        EXPECT_EQ(std::count(writes.begin(), writes.end(), line), 1) << line;
}
