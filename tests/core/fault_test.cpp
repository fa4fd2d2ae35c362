// Every store operation of a call fails once, and then for good: the call ends with a documented result, and goes
// through once the store works again.
#include <functional>
#include <set>

#include "core/group.h"
#include "support/library_test.h"

namespace {

struct FaultCase {
    const char *name;
    std::function<void()> prepare;
    std::function<int()> call;
    std::set<int> results;  // what the call may answer while the store fails
    int result_after;
};

int report(const std::string &mac, const char *state) {
    const signature_record record = signature_of(mac, state);
    return update_device_signature(&record, 0);
}

int report_connection() {
    connected_device_record record = {};
    set_text(record.mac, mac_of(1));
    return update_connected_device_info(&record, 0);
}

int report_detail() {
    device_detail_record record = {};
    set_text(record.mac, mac_of(1));
    return update_device_detail(&record, 0);
}

int query() {
    device_info record;
    return get_device_info_at_index(&record, 1);
}

}  // namespace

class Faults : public LibraryTest {
protected:
    int run(const FaultCase &c, bool forever) {
        int at = 1;
        for (;; ++at) {
            SetUp();
            c.prepare();
            fake::fail_at(at, forever);
            const int result = c.call();
            const bool has_fired = fake::has_fault_fired();
            fake::fail_at(0, false);
            fake::set("general", 0, "SARNSyncTimestamp", "1700000000");
            // A group that the store cannot keep leaves a new device without a row.
            const bool is_groups_own = sarn::has_groups() && result == SARN_ERR_NO_ROW;
            EXPECT_TRUE(is_groups_own || c.results.count(result) == 1) << c.name << " at " << at << ": " << result;
            if (has_fired) {
                EXPECT_EQ(c.call(), c.result_after) << c.name << " after " << at;
            }
            (void)sarn_uninit();
            if (!has_fired) break;
        }
        return at - 1;
    }
};

TEST_F(Faults, EveryOperationOfEveryCallMayFail) {
    const auto devices = [] {
        put_devices(5);
        put_device(3, mac_of(3), "DOWN", "7");
        fake::set("general", 0, "SARNSyncTimestamp", "1700000000");
        ASSERT_EQ(sarn_init(), SARN_OK);
    };
    // Without the gates' rebuilds, whose every operation the cases with them go through.
    const auto quiet = [devices] {
        devices();
        fake::set("general", 0, "SARNSyncTimestamp", "-1");
    };
    const auto crowd = [] {
        put_devices(256, "DOWN");
        fake::set("general", 0, "SARNSyncTimestamp", "-1");
        mappingtablestatus = 0;
        ASSERT_EQ(sarn_init(), SARN_OK);
        mappingtablestatus = 1;
        ASSERT_EQ(create_mapping_table(), 256);
    };
    const FaultCase cases[] = {
        {"start with duplicates",
         [] {
             put_device(1, mac_of(1), "UP", "5");
             put_device(2, mac_of(1), "UP", "6");
             fake::set("sarngeneral", 0, "MappingComplete", "init");
         },
         [] { return sarn_init(); },
         {SARN_OK},
         SARN_ERR_ALREADY_INITIALISED},
        {"new device", devices, [] { return report(mac_of(9), "UP"); }, {SARN_OK}, SARN_OK},
        {"known device", devices, [] { return report(mac_of(3), "DOWN"); }, {SARN_OK}, SARN_OK},
        {"full table", crowd, [] { return report(mac_of(900), "UP"); }, {SARN_ERR_NO_ROW, SARN_OK}, SARN_OK},
        {"record", devices, query, {SARN_OK, SARN_ERR_NOT_READABLE}, SARN_OK},
        {"record by MAC",
         quiet,
         [] {
             device_info record;
             return get_device_info_by_mac(&record, "02:00:00:00:00:01");
         },
         {SARN_OK, SARN_ERR_UNKNOWN_DEVICE},
         SARN_OK},
        {"connection", quiet, report_connection, {SARN_OK, SARN_ERR_NO_ROW}, SARN_OK},
        {"detail", devices, report_detail, {SARN_OK, SARN_ERR_NO_ROW}, SARN_OK},
        {"state",
         quiet,
         [] { return sarn_update_table_field("02:00:00:00:00:01", SARN_FIELD_STATE, "DOWN", 5, 0); },
         {SARN_OK, SARN_ERR_NO_ROW},
         SARN_OK},
        {"removal",
         devices,
         [] {
             put_device(3, mac_of(3), "DOWN");
             return sarn_remove_macaddress_entry("02:00:00:00:00:03");
         },
         {SARN_OK, SARN_ERR_NO_ROW},
         SARN_OK},
        {"name",
         quiet,
         [] { return update_device_displayname("02:00:00:00:00:01", "x", 1, 0); },
         {SARN_OK, SARN_ERR_UNKNOWN_DEVICE},
         SARN_OK},
        {"pause",
         quiet,
         [] {
             const char *mac = "02:00:00:00:00:01";
             fake::set("Sarnsignature", 1, "AllowOrBlock", "allow");
             return sarn_update_pause_list(&mac, 0, 1, 0);
         },
         {SARN_OK, SARN_ERR_NOTHING_CHANGED},
         SARN_OK},
        {"state bitmap",
         quiet,
         [] {
             uint32_t words[8];
             return sarn_device_state_info(words, 8, SARN_ROWS_UP);
         },
         {0, 1, 2, 3, 4, SARN_ERR_UNREADABLE},
         4},
        {"count", devices, [] { return get_total_sarn_entries_used(); }, {0, 1, 2, 3, 4, 5}, 5},
    };
    for (const FaultCase &c : cases) {
        for (const bool forever : {false, true}) {
            const int positions = run(c, forever);
            EXPECT_GE(positions, 5) << c.name << ": the fault was hardly reached";
            std::printf("%s, %s: %d positions\n", c.name, forever ? "ever after" : "once", positions);
        }
    }
}
