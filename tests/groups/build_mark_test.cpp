// Leaving out a rebuild that would find nothing new must not show: the same random calls, with other processes writing
// in between, once with the store's change number and once without.
#include <random>

#include "core/row_bitmap.h"
#include "support/library_test.h"
#include "support/operations.h"

class BuildMark : public LibraryTest {
protected:
    int any(int count) { return static_cast<int>(random_() % static_cast<uint32_t>(count)); }
    const char *any_state() {
        const char *states[] = {"UP", "DOWN", "unknown", "down"};
        return states[any(4)];
    }

    int make_any_call() {
        const std::string mac = mac_of(any(12));
        const uint32_t row = static_cast<uint32_t>(any(14));
        const int operation = any(std::size(OPERATIONS) + 4);
        device_info record;
        uint32_t words[8];
        switch (operation - static_cast<int>(std::size(OPERATIONS))) {
            case 0: return report(mac, any_state(), any(3) == 0 ? SARN_PRODUCER_LOOKUP_ONLY : 0);
            case 1: return get_device_info_at_index(&record, row);
            case 2: return sarn_device_state_info(words, 8, row % 4);
            case 3: return any(8) == 0 ? create_mapping_table() : get_total_sarn_entries_used();
            default: return OPERATIONS[operation].call(mac.c_str(), 0);
        }
    }

    void let_another_process_write() {
        const int row = any(14);
        switch (any(12)) {
            case 0: fake::set("Sarnsignature", row, "Devicestate", any_state()); break;
            case 1: fake::set("DeviceIdList", row, "Timestamp", std::to_string(any(1000))); break;
            case 2: put_device(row, NO_DEVICE, "unknown"); break;
            case 3: put_device(row, mac_of(20 + any(4)), any_state(), "77"); break;
            case 4: fake::set("general", 0, "SARNSyncTimestamp", any(6) == 0 ? "-1" : "1700000000"); break;
            case 5: gc_epochtime_array[any(10)] = {1, 1}; break;
            case 6: mappingtablestatus = static_cast<uint8_t>(any(4) != 0); break;  // a host's way to stop builds
            default: break;
        }
    }

    // What each call answers and leaves behind.
    std::vector<std::string> play(uint32_t seed, bool has_changes) {
        SetUp();
        fake::controls.offer_changes = has_changes;
        fake::set("general", 0, "SARNSyncTimestamp", "1700000000");
        random_.seed(seed);
        EXPECT_EQ(sarn_init(), SARN_OK);
        std::vector<std::string> pictures;
        for (int i = 0; i < 120; ++i) {
            fake::controls.now = 1'700'000'000 + i / 3;  // the same in both runs, however often they ask
            let_another_process_write();
            std::string picture = std::to_string(make_any_call());
            const auto add = [&](const auto &...state) {
                (picture.append(reinterpret_cast<const char *>(&state), sizeof state), ...);
            };
            add(sarn::inuse_count, sarn::last_sync_time, sarn::mapping_table, sarn::inuse_bitmap, sarn::offline_bitmap,
                gc_epochtime_array);
            pictures.push_back(picture);
        }
        operations_[has_changes] += fake::controls.operations;
        mappingtablestatus = 1;
        (void)sarn_uninit();
        return pictures;
    }

    std::mt19937 random_;
    long operations_[2] = {};
};

TEST_F(BuildMark, ARebuildThatIsLeftOutIsNotSeen) {
    for (uint32_t seed = 1; seed <= 120; ++seed) {
        const auto skipping = play(seed, true), plain = play(seed, false);
        ASSERT_TRUE(skipping == plain) << "seed " << seed;
    }
    EXPECT_LT(operations_[true], operations_[false]) << "no rebuild was left out";
}
