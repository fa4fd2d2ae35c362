#include "core/offline_cleanup.h"

#include "core/row_bitmap.h"
#include "support/library_test.h"

class OfflineCleanup : public LibraryTest {
protected:
    // A full list with the times 10, 20, ... 100 in rows 0 to 9.
    void fill_candidates() {
        sarn::clear_gc_candidates();
        for (int i = 0; i < 10; ++i) sarn::add_gc_candidate(std::to_string(10 * (i + 1)).c_str(), i);
    }
    // -1 for a row that is not listed, -2 for one that is listed twice.
    int slot_of(int row) {
        int found = -1;
        for (int i = 0; i < 10; ++i) {
            if (gc_epochtime_array[i].row == row) found = found == -1 ? i : -2;
        }
        return found;
    }
};

TEST_F(OfflineCleanup, ListKeepsTheOldest) {
    const sarn::Exclusive hold(sarn::state_lock);
    struct {
        const char *name, *time;
        int row, slot;
    } const cases[] = {
        {"older than the newest", "5", 50, 9}, {"as old as the newest", "100", 50, -1}, {"newer", "200", 50, -1},
        {"no time counts as 0", "", 50, 9},    {"negative", "4294967295", 50, 9},       {"listed already", "7", 3, 3},
    };
    for (const auto &c : cases) {
        fill_candidates();
        sarn::add_gc_candidate(c.time, c.row);
        EXPECT_EQ(slot_of(c.row), c.slot) << c.name;
    }
    fill_candidates();
    gc_epochtime_array[4].timestamp = 100;
    sarn::add_gc_candidate("5", 50);
    EXPECT_EQ(slot_of(50), 4) << "of two newest the lower slot goes";
}

TEST_F(OfflineCleanup, FreesAtMostTenRowsAndSkipsEmptySlots) {
    put_devices(200);
    stop_rebuilds();
    start();
    const sarn::Exclusive hold(sarn::state_lock);
    EXPECT_EQ(sarn::cleanup_offline_entries(), SARN_ERR_NONE_OFFLINE);
    for (int row = 0; row < 15; ++row) {
        fake::set("Sarnsignature", row, "Devicestate", "DOWN");
        sarn::set_row(sarn::offline_bitmap, row);
    }
    fill_candidates();
    gc_epochtime_array[2] = {-1, -1};
    EXPECT_EQ(sarn::cleanup_offline_entries(), 9);
    EXPECT_EQ(sarn::inuse_count, 191);
    EXPECT_EQ(sarn::count_offline_entries(), 6);
    EXPECT_EQ(slot_of(9), -1);
    EXPECT_FALSE(sarn::has_row(sarn::inuse_bitmap, 9));
    EXPECT_TRUE(sarn::has_row(sarn::inuse_bitmap, 2));

    for (int row = 100; row < 112; ++row) sarn::clear_row(sarn::inuse_bitmap, row);
    EXPECT_EQ(sarn::cleanup_offline_entries(), SARN_ERR_NOT_CROWDED);
}

TEST_F(OfflineCleanup, RebuildFreesTheLongestOffline) {
    put_devices(200);
    for (int row = 100; row < 115; ++row) put_device(row, mac_of(row), "DOWN", std::to_string(5000 - row));
    fake::set("general", 0, "SARNSyncTimestamp", "1");
    start();
    for (int row = 0; row < 200; ++row) EXPECT_EQ(mac_in(row) == NO_DEVICE, row >= 105 && row < 115) << row;
    EXPECT_EQ(fake::get("DeviceIdList", 105, "Timestamp"), "");
}
