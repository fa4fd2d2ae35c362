// Every store operation of a call fails once, and then for good: the call ends with a documented result, and goes
// through once the store works again.
#include <functional>
#include <set>

#include "core/group.h"
#include "support/library_test.h"

struct FaultCase {
    const char *name;
    std::function<void()> prepare;
    std::function<int()> call;
    std::set<int> results;  // what the call may answer while the store fails
    int result_after = SARN_OK;
};

class Faults : public LibraryTest {
protected:
    // How many operations there are to fail.
    int run(const FaultCase &c, bool forever) {
        for (int at = 1;; ++at) {
            SetUp();
            c.prepare();
            fake::fail_at(at, forever);
            const int result = c.call();
            const bool has_fired = fake::has_fault_fired();
            fake::fail_at(0, false);
            fake::set("general", 0, "SARNSyncTimestamp", "1700000000");
            // A group that the store cannot keep leaves a new device without a row, and a row that was to go.
            const bool is_groups_own = sarn::has_groups() && (result == SARN_ERR_NO_ROW || result == SARN_ERR_REBUILD);
            EXPECT_TRUE(is_groups_own || c.results.count(result) == 1) << c.name << " at " << at << ": " << result;
            if (has_fired) {
                EXPECT_EQ(c.call(), c.result_after) << c.name << " after " << at;
            }
            (void)sarn_uninit();
            if (!has_fired) return at - 1;
        }
    }
};

TEST_F(Faults, EveryOperationOfEveryCallMayFail) {
    const auto duplicates = [] {
        put_device(1, mac_of(1), "UP", "5");
        put_device(2, mac_of(1), "UP", "6");
        fake::set("sarngeneral", 0, "MappingComplete", "init");
    };
    const auto devices = [] {
        put_devices(5);
        put_device(3, mac_of(3), "DOWN", "7");
        fake::set("general", 0, "SARNSyncTimestamp", "1700000000");
        ASSERT_EQ(sarn_init(), SARN_OK);
    };
    // Without the gates' rebuilds, whose every operation the cases with them go through.
    const auto quiet = [devices] {
        devices();
        stop_rebuilds();
    };
    const auto crowd = [] {
        put_devices(256, "DOWN");
        stop_rebuilds();
        mappingtablestatus = 0;
        ASSERT_EQ(sarn_init(), SARN_OK);
        mappingtablestatus = 1;
        ASSERT_EQ(create_mapping_table(), 256);
    };
    const auto pause = [](const char *mac) {
        fake::set("Sarnsignature", 1, "AllowOrBlock", "allow");
        return sarn_update_pause_list(&mac, 0, 1, 0);
    };
    const auto remove = [](const char *mac) {
        put_device(3, mac, "DOWN");
        return sarn_remove_macaddress_entry(mac);
    };
    const char *mac = "02:00:00:00:00:01";
    uint32_t words[8];
    device_info record;
    connected_device_record connection = {};
    device_detail_record detail = {};
    set_text(connection.mac, mac);
    set_text(detail.mac, mac);
    const FaultCase cases[] = {
        {"start with duplicates", duplicates, sarn_init, {SARN_OK}, SARN_ERR_ALREADY_INITIALISED},
        {"new device", devices, [] { return report(mac_of(9)); }, {SARN_OK}},
        {"known device", devices, [] { return report(mac_of(3), "DOWN"); }, {SARN_OK}},
        {"full table", crowd, [] { return report(mac_of(900)); }, {SARN_ERR_NO_ROW, SARN_OK}},
        {"record", devices, [&] { return get_device_info_at_index(&record, 1); }, {SARN_OK, SARN_ERR_NOT_READABLE}},
        {"by MAC", quiet, [&] { return get_device_info_by_mac(&record, mac); }, {SARN_OK, SARN_ERR_UNKNOWN_DEVICE}},
        {"connection", quiet, [&] { return update_connected_device_info(&connection, 0); }, {SARN_OK, SARN_ERR_NO_ROW}},
        {"detail", devices, [&] { return update_device_detail(&detail, 0); }, {SARN_OK, SARN_ERR_NO_ROW}},
        {"state",
         quiet,
         [&] { return sarn_update_table_field(mac, SARN_FIELD_STATE, "DOWN", 5, 0); },
         {SARN_OK, SARN_ERR_NO_ROW}},
        {"removal", devices, [&] { return remove("02:00:00:00:00:03"); }, {SARN_OK, SARN_ERR_NO_ROW}},
        {"name", quiet, [&] { return update_device_displayname(mac, "x", 1, 0); }, {SARN_OK, SARN_ERR_UNKNOWN_DEVICE}},
        {"pause", quiet, [&] { return pause(mac); }, {SARN_OK, SARN_ERR_NOTHING_CHANGED}},
        {"bitmap",
         quiet,
         [&] { return sarn_device_state_info(words, 8, SARN_ROWS_UP); },
         {0, 1, 2, 3, 4, SARN_ERR_UNREADABLE},
         4},
        {"count", devices, get_total_sarn_entries_used, {0, 1, 2, 3, 4, 5}, 5},
    };
    for (const FaultCase &c : cases) {
        for (const bool forever : {false, true}) {
            const int positions = run(c, forever);
            printf("%s, %s: %d positions\n", c.name, forever ? "ever after" : "once", positions);
            EXPECT_GE(positions, 5) << c.name << ": the fault was hardly reached";
        }
    }
}
