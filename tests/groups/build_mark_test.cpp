// Leaving out a rebuild that would find nothing new must not show: the same random calls, with other processes writing
// in between, once with the store's change number and once without.
#include <ctime>
#include <random>

#include "core/row_bitmap.h"
#include "support/library_test.h"

namespace {

// Both runs see the same times, however long they take and however often they ask.
time_t now;

}  // namespace

extern "C" time_t time(time_t *) noexcept { return now; }

class BuildMark : public LibraryTest {
protected:
    int any(int count) { return static_cast<int>(random_() % static_cast<uint32_t>(count)); }
    const char *any_state() {
        const char *states[] = {"UP", "DOWN", "unknown", "down"};
        return states[any(4)];
    }

    int make_any_call() {
        const std::string mac = mac_of(any(12));
        const char *list = mac.c_str();
        const signature_record report = signature_of(mac, any_state());
        device_info record;
        device_detail_record found = {};
        set_text(found.mac, mac);
        uint32_t words[8];
        switch (any(11)) {
            case 0:
            case 1: return update_device_signature(&report, any(3) == 0 ? SARN_PRODUCER_LOOKUP_ONLY : 0);
            case 2: return get_device_info_by_mac(&record, list);
            case 3: return get_device_info_at_index(&record, static_cast<uint32_t>(any(14)));
            case 4: return sarn_remove_macaddress_entry(list);
            case 5: return sarn_update_table_field(list, SARN_FIELD_STATE, report.state, 8, 0);
            case 6: return sarn_device_state_info(words, 8, static_cast<uint32_t>(any(4)));
            case 7: return update_device_displayname(list, "name", 4, 0);
            case 8: return any(8) == 0 ? create_mapping_table() : get_total_sarn_entries_used();
            case 9: return update_device_detail(&found, 0);
            default: return sarn_update_pause_list(&list, any(2) == 1, 1, 0);
        }
    }

    void let_another_process_write() {
        const int row = any(14);
        switch (any(12)) {
            case 0: fake::set("Sarnsignature", row, "Devicestate", any_state()); break;
            case 1: fake::set("DeviceIdList", row, "Timestamp", std::to_string(any(1000))); break;
            case 2: put_device(row, "00:00:00:00:00:00", "unknown"); break;
            case 3: put_device(row, mac_of(20 + any(4)), any_state(), "77"); break;
            case 4: fake::set("general", 0, "SARNSyncTimestamp", any(6) == 0 ? "-1" : "1700000000"); break;
            case 5: gc_epochtime_array[any(10)] = {1, 1}; break;
            default: break;
        }
    }

    // What each call answers and leaves behind.
    std::vector<std::string> play(uint32_t seed, bool has_changes) {
        SetUp();
        fake::offer_changes(has_changes);
        fake::set("general", 0, "SARNSyncTimestamp", "1700000000");
        random_.seed(seed);
        EXPECT_EQ(sarn_init(), SARN_OK);
        std::vector<std::string> pictures;
        for (int i = 0; i < 120; ++i) {
            now = 1700000000 + i / 3;
            let_another_process_write();
            std::string &picture = pictures.emplace_back();
            const auto add = [&](const auto &value) {
                picture.append(reinterpret_cast<const char *>(&value), sizeof value);
            };
            add(make_any_call());
            add(sarn::inuse_count);
            add(sarn::last_sync_time);
            add(sarn::mapping_table);
            add(sarn::inuse_bitmap);
            add(sarn::offline_bitmap);
            add(gc_epochtime_array);
        }
        operations_[has_changes] += fake::operations();
        (void)sarn_uninit();
        return pictures;
    }

    std::mt19937 random_;
    long operations_[2] = {};
};

TEST_F(BuildMark, ARebuildThatIsLeftOutIsNotSeen) {
    for (uint32_t seed = 1; seed <= 60; ++seed) {
        const auto skipping = play(seed, true), plain = play(seed, false);
        for (size_t i = 0; i < plain.size(); ++i) ASSERT_TRUE(skipping[i] == plain[i]) << "seed " << seed << ", " << i;
    }
    EXPECT_LT(operations_[true], operations_[false]) << "no rebuild was left out";
}
