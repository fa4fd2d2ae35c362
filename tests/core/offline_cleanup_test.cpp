#include "core/offline_cleanup.h"

#include <functional>

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

TEST_F(OfflineCleanup, StartAndRebuildFreeTheLongestOfflineFrom180RowsOn) {
    for (const bool is_started : {false, true}) {
        for (const int rows : {179, 180}) {
            SetUp();
            put_devices(rows);
            fake::set("general", 0, "SARNSyncTimestamp", "1");
            if (is_started) start();
            for (int row = 100; row < 115; ++row) put_device(row, mac_of(row), "DOWN", std::to_string(5000 - row));
            EXPECT_GE(is_started ? get_total_sarn_entries_used() : sarn_init(), 0);
            for (int row = 0; row < rows; ++row)
                EXPECT_EQ(mac_in(row) == NO_DEVICE, rows == 180 && row >= 105 && row < 115) << is_started << row;
            TearDown();
        }
    }
}

TEST_F(OfflineCleanup, EachReportEndsWithIt) {
    connected_device_record connection = {};
    device_detail_record detail = {};
    set_text(connection.mac, mac_of(1));
    set_text(detail.mac, mac_of(1));
    const std::pair<std::function<int()>, std::string> reports[] = {
        {[] { return report(mac_of(1)); }, "set_int Sarnsignature 1 Producerid 0"},
        {[&] { return update_connected_device_info(&connection, 0); }, "set_ascii ConnectDeviceinfo 1 UploadBW "},
        {[&] { return update_device_detail(&detail, 0); }, "set_int DeviceIdList 1 Producerid 0"},
    };
    for (const auto &[call, last_line] : reports) {
        SetUp();
        put_devices(180);
        stop_rebuilds();
        start();
        // Not before the gate has passed, which would clean up by itself.
        fake::on_operation([&, line_of_report = last_line](const std::string &line) {
            if (line != line_of_report) return;
            fake::set("Sarnsignature", 7, "Devicestate", "DOWN");
            sarn::set_row(sarn::offline_bitmap, 7);
            sarn::add_gc_candidate("5", 7);
        });
        EXPECT_EQ(call(), SARN_OK) << last_line;
        EXPECT_EQ(mac_in(7), NO_DEVICE) << last_line;
        TearDown();
    }
}
