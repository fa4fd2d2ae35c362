#include "support/library_test.h"

class Lifecycle : public LibraryTest {};

TEST_F(Lifecycle, RefusesWhatDoesNotFitItsState) {
    EXPECT_EQ(sarn_uninit(), SARN_ERR_NOT_INITIALISED);
    fake::controls.fail_open = true;
    EXPECT_EQ(sarn_init(), SARN_ERR_STORE_OPEN);
    fake::controls.fail_open = false;
    EXPECT_EQ(sarn_init(), SARN_OK);
    EXPECT_EQ(sarn_init(), SARN_ERR_ALREADY_INITIALISED);
    EXPECT_EQ(fake::controls.handles, 1);
    EXPECT_EQ(sarn_uninit(), SARN_OK);
    EXPECT_EQ(fake::controls.handles, 0);
    EXPECT_EQ(get_total_sarn_entries_used(), SARN_ERR_NOT_INITIALISED);
    EXPECT_EQ(find_row(mac_of(1)), SARN_ERR_NOT_INITIALISED);
    EXPECT_EQ(create_mapping_table(), SARN_ERR_UNREADABLE);
}

TEST_F(Lifecycle, FirstStartKeepsTheNewestOfEachMac) {
    using Times = std::vector<std::pair<int, const char *>>;  // by row, all of one MAC
    const auto keep = [this](const std::string &progress, const Times &times, const std::vector<int> &surviving,
                             const std::string &progress_after = "done") {
        SetUp();
        fake::set("sarngeneral", 0, "MappingComplete", progress);
        put_device(100, mac_of(100));
        for (const auto &[row, time] : times) put_device(row, mac_of(1), "UP", time);
        EXPECT_EQ(sarn_init(), SARN_OK);
        const std::string writes = testing::PrintToString(fake::take_writes());
        EXPECT_EQ(writes.find("MappingComplete going") != writes.npos, progress == "init");
        std::vector<int> found;
        for (int row = 0; row < 256; ++row) {
            if (mac_in(row) == mac_of(1)) found.push_back(row);
        }
        EXPECT_EQ(found, surviving);
        EXPECT_EQ(fake::get("sarngeneral", 0, "MappingComplete"), progress_after);
        EXPECT_EQ(get_total_sarn_entries_used(), static_cast<int>(surviving.size()) + 1);
        TearDown();
    };
    keep("init", {{1, "100"}, {2, "300"}, {3, "200"}}, {2});
    keep("init", {{33, "7"}, {40, "7"}}, {40});  // of equals in one word the higher
    keep("init", {{3, "7"}, {40, "7"}}, {3});    // and of two words the lower
    keep("init", {{0, ""}, {255, "1"}}, {255});
    keep("done", {{3, "100"}, {9, "200"}}, {3, 9});
    keep("going", {{3, "100"}, {9, "200"}}, {3, 9}, "going");  // another start removes them
}
