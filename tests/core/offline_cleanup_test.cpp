#include "core/offline_cleanup.h"

#include "core/row_bitmap.h"
#include "support/library_test.h"
#include "support/operations.h"

class OfflineCleanup : public LibraryTest {
protected:
    // Into a full list with the times 10, 20, ... 100 in rows 0 to 9: the row's slot; -1 when it is in none.
    static int slot_after(const char *time, int row, int time_in_slot_4 = 50) {
        sarn::clear_gc_candidates();
        for (int i = 0; i < 10; ++i) sarn::add_gc_candidate(std::to_string(10 * (i + 1)).c_str(), i);
        gc_epochtime_array[4].timestamp = time_in_slot_4;
        sarn::add_gc_candidate(time, row);
        int found = -1;
        for (int i = 0; i < 10; ++i) {
            if (gc_epochtime_array[i].row == row) found = found == -1 ? i : -2;  // each row once
        }
        return found;
    }
};

TEST_F(OfflineCleanup, ListKeepsTheOldest) {
    const sarn::Exclusive hold(sarn::state_lock);
    EXPECT_EQ(slot_after("5", 50), 9);
    EXPECT_EQ(slot_after("100", 50), -1) << "as old as the newest";
    EXPECT_EQ(slot_after("4294967295", 50), 9) << "negative";
    EXPECT_EQ(slot_after("7", 3), 3) << "listed already";
    EXPECT_EQ(slot_after("5", 50, 100), 4) << "of two newest the lower slot goes";
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
            EXPECT_EQ(get_total_sarn_entries_used(), rows == 180 ? 170 : 179);
            TearDown();
        }
    }
}

TEST_F(OfflineCleanup, EachReportEndsWithItAndSkipsEmptySlots) {
    for (const auto report : {OPERATIONS[0].call, report_connection, report_detail}) {
        SetUp();
        put_devices(180);
        stop_rebuilds();
        start();
        EXPECT_EQ(sarn::cleanup_offline_entries(), SARN_ERR_NONE_OFFLINE);
        // Not before the gate has passed, which would clean up by itself.
        fake::on_operation([](const std::string &line) {
            const bool is_reports = line.starts_with("set ") && line.find(" 1 ") != line.npos;
            if (!is_reports || line.find("DeviceMAC") != line.npos || sarn::offline_bitmap[0] != 0) return;
            for (const int row : {7, 8}) {
                fake::set("Sarnsignature", row, "Devicestate", "DOWN");
                sarn::set_row(sarn::offline_bitmap, row);
                sarn::add_gc_candidate("5", row);
            }
            gc_epochtime_array[0] = {-1, -1};
        });
        EXPECT_EQ(report(mac_of(1).c_str(), 0), SARN_OK);
        EXPECT_EQ(mac_in(7) + mac_in(8), mac_of(7) + NO_DEVICE);
        EXPECT_EQ(gc_epochtime_array[1].row, -1) << "a removal empties its slot";
        EXPECT_EQ(sarn::cleanup_offline_entries(), SARN_ERR_NOT_CROWDED);
        TearDown();
    }
}
