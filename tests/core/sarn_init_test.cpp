#include <vector>

#include "core/mapping_table.h"
#include "support/library_test.h"

class Lifecycle : public LibraryTest {};

TEST_F(Lifecycle, RefusesWhatDoesNotFitItsState) {
    EXPECT_EQ(sarn_uninit(), SARN_ERR_NOT_INITIALISED);
    fake::fail_open(true);
    EXPECT_EQ(sarn_init(), SARN_ERR_STORE_OPEN);
    EXPECT_EQ(sarn_table_enquiry(nullptr, 8), SARN_ERR_NOT_READY);
    fake::fail_open(false);
    EXPECT_EQ(sarn_init(), SARN_OK);
    EXPECT_EQ(sarn_init(), SARN_ERR_ALREADY_INITIALISED);
    EXPECT_EQ(fake::open_handles(), 1);
    EXPECT_EQ(sarn_uninit(), SARN_OK);
    EXPECT_EQ(fake::open_handles(), 0);
}

TEST_F(Lifecycle, ClosedLibraryTouchesNeitherStoreNorState) {
    fake::set("general", 0, "SARNSyncTimestamp", "5");
    start();
    ASSERT_EQ(sarn_uninit(), SARN_OK);
    const int before = fake::operations();
    device_info record;
    EXPECT_EQ(get_total_sarn_entries_used(), SARN_ERR_NOT_INITIALISED);
    EXPECT_EQ(find_row(mac_of(1)), SARN_ERR_NOT_INITIALISED);
    EXPECT_EQ(create_mapping_table(), SARN_ERR_UNREADABLE);
    EXPECT_EQ(get_device_info_at_index(&record, 0), SARN_ERR_NOT_INITIALISED);
    EXPECT_EQ(report(mac_of(1)), SARN_ERR_NOT_INITIALISED);
    EXPECT_EQ(fake::operations(), before);
}

TEST_F(Lifecycle, FirstStartKeepsTheNewestOfEachMac) {
    const struct {
        const char *name, *progress;
        std::vector<std::pair<int, const char *>> rows;  // row and "Timestamp", all of one MAC
        std::vector<int> surviving;
        const char *progress_after;
    } cases[] = {
        {"older goes", "init", {{3, "100"}, {9, "200"}}, {9}, "done"},
        {"newest of three", "init", {{1, "100"}, {2, "300"}, {3, "200"}}, {2}, "done"},
        {"equal in one word: higher stays", "init", {{33, "7"}, {40, "7"}}, {40}, "done"},
        {"equal across words: lower stays", "init", {{3, "7"}, {40, "7"}}, {3}, "done"},
        {"empty counts as 0", "init", {{0, ""}, {255, "1"}}, {255}, "done"},
        {"not the first start", "done", {{3, "100"}, {9, "200"}}, {3, 9}, "done"},
        {"first start elsewhere", "going", {{3, "100"}, {9, "200"}}, {3, 9}, "going"},
    };
    for (const auto &c : cases) {
        SetUp();
        fake::set("sarngeneral", 0, "MappingComplete", c.progress);
        put_device(100, mac_of(100));
        for (const auto &[row, time] : c.rows) put_device(row, mac_of(1), "UP", time);
        start();
        std::vector<int> surviving;
        for (int row = 0; row < 256; ++row) {
            if (mac_in(row) == mac_of(1)) surviving.push_back(row);
        }
        EXPECT_EQ(surviving, c.surviving) << c.name;
        EXPECT_EQ(mac_in(100), mac_of(100)) << c.name;
        EXPECT_EQ(fake::get("sarngeneral", 0, "MappingComplete"), c.progress_after) << c.name;
        EXPECT_EQ(get_total_sarn_entries_used(), static_cast<int>(c.surviving.size()) + 1) << c.name;
        TearDown();
    }
}
