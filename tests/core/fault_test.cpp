// Every store operation of a call fails once, and then for good: the call ends with a documented result, and goes
// through once the store works again.
#include <functional>
#include <set>

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
            EXPECT_EQ(c.results.count(result), 1U) << c.name << " at " << at << ": " << result;
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
        {"count", devices, [] { return get_total_sarn_entries_used(); }, {0, 1, 2, 3, 4, 5}, 5},
    };
    for (const FaultCase &c : cases) {
        for (const bool forever : {false, true}) {
            const int positions = run(c, forever);
            RecordProperty(c.name, positions);
            EXPECT_GT(positions, 10) << c.name << ": the fault was hardly reached";
            std::printf("%s, %s: %d positions\n", c.name, forever ? "ever after" : "once", positions);
        }
    }
}
