// Every store operation of a call fails once, and then for good: the call ends with a documented result and leaves
// whole rows where the store has groups, and goes through once the store works again.
#include <set>

#include "core/group.h"
#include "support/library_test.h"
#include "support/operations.h"

class Faults : public LibraryTest {
protected:
    // Of a call that answers `last` when all is well.
    void fail(const std::function<void()> &prepare, const std::function<int()> &call, std::set<int> results,
              int last = 0) {
        results.insert(last);
        // A group that the store cannot keep leaves a new device without a row, and a row that was to go.
        if (sarn::has_groups()) results.insert({SARN_ERR_NO_ROW, SARN_ERR_REBUILD});
        for (const bool is_forever : {false, true}) {
            bool has_fired = true;
            int at = 0;
            while (has_fired) {
                SCOPED_TRACE(++at);
                SetUp();
                prepare();
                fake::controls.operations = 0;
                fake::controls.fail_at = at;
                fake::controls.fail_forever = is_forever;
                const int result = call();
                has_fired = fake::controls.operations >= at;
                fake::controls.fail_at = 0;
                EXPECT_TRUE(results.contains(result)) << result;
                for (int row = 0; row < 10 && sarn::has_groups(); ++row)
                    EXPECT_EQ(fake::get("DeviceIdList", row, "DeviceMAC"), mac_in(row));
                put_device(3, mac_of(3), "DOWN", "7");
                fake::set("general", 0, "SARNSyncTimestamp", "1700000000");
                fake::set("Sarnsignature", 3, "AllowOrBlock", "allow");
                EXPECT_EQ(call(), last);
                (void)sarn_uninit();
            }
            EXPECT_GE(at, 5) << "the fault was hardly reached";
        }
    }
};

TEST_F(Faults, EveryOperationOfEveryCallMayFail) {
    const auto crowd_with_duplicates = [] {
        put_devices(190, "DOWN");
        put_device(190, mac_of(189), "UP", "5");
        fake::set("sarngeneral", 0, "MappingComplete", "init");
    };
    const auto five = [] {
        put_devices(5);
        put_device(3, mac_of(3), "DOWN", "7");
        fake::set("general", 0, "SARNSyncTimestamp", "1700000000");
        ASSERT_EQ(sarn_init(), SARN_OK);
    };
    // Without the gates' rebuilds, whose every operation the calls with them go through.
    const auto five_without_rebuilds = [&] {
        five();
        stop_rebuilds();
    };
    const auto read_up = [] {
        uint32_t words[8];
        return sarn_device_state_info(words, 8, SARN_ROWS_UP);
    };
    device_info record;
    fail(crowd_with_duplicates, sarn_init, {SARN_OK}, SARN_ERR_ALREADY_INITIALISED);
    fail(five, get_total_sarn_entries_used, {0, 1, 2, 3, 4}, 5);
    fail(five, [] { return report(mac_of(9)); }, {});
    fail(five_without_rebuilds, [&] { return get_device_info_at_index(&record, 1); }, {SARN_ERR_NOT_READABLE});
    fail(five_without_rebuilds, read_up, {0, 1, 2, 3, SARN_ERR_UNREADABLE}, 4);
    for (const Operation &operation : OPERATIONS) {
        SCOPED_TRACE(operation.name);
        fail(five_without_rebuilds, [&] { return operation.call(mac_of(3).c_str(), 0); }, {operation.without_row});
    }
}
