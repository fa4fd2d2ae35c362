// Leaving out a rebuild that would find nothing new must not show: the same random calls, with other processes writing
// in between, once with the store's change number and once without.
#include <ctime>
#include <random>

#include "core/row_bitmap.h"
#include "support/library_test.h"

namespace {

// Both runs see the same times, however long they take and however often they ask.
time_t now = 1700000000;

struct Picture {
    int result;
    int32_t count;
    int64_t last_sync;
    std::vector<uint8_t> state;

    bool operator==(const Picture &) const = default;
};

template <typename Value>
void append(std::vector<uint8_t> &bytes, const Value &value) {
    const auto *begin = reinterpret_cast<const uint8_t *>(&value);
    bytes.insert(bytes.end(), begin, begin + sizeof value);
}

}  // namespace

extern "C" time_t time(time_t *) noexcept { return now; }

class BuildMark : public LibraryTest {
protected:
    std::string any_mac() { return mac_of(static_cast<int>(random_() % 12)); }
    const char *any_state() {
        const char *states[] = {"UP", "DOWN", "unknown", "down"};
        return states[random_() % 4];
    }

    int make_any_call() {
        const std::string mac = any_mac();
        device_info record;
        uint32_t words[8];
        switch (random_() % 11) {
            case 10: {
                device_detail_record found = {};
                std::memcpy(found.mac, mac.c_str(), sizeof found.mac);
                return update_device_detail(&found, 0);
            }
            case 0:
            case 1: {
                const signature_record report = signature_of(mac, any_state());
                return update_device_signature(&report, random_() % 3 == 0 ? SARN_PRODUCER_LOOKUP_ONLY : 0);
            }
            case 2: return get_device_info_by_mac(&record, mac.c_str());
            case 3: return get_device_info_at_index(&record, static_cast<uint32_t>(random_() % 14));
            case 4: return sarn_remove_macaddress_entry(mac.c_str());
            case 5: return sarn_update_table_field(mac.c_str(), SARN_FIELD_STATE, any_state(), 8, 0);
            case 6: return sarn_device_state_info(words, 8, static_cast<uint32_t>(random_() % 4));
            case 7: return update_device_displayname(mac.c_str(), "name", 4, 0);
            case 8: return random_() % 8 == 0 ? create_mapping_table() : get_total_sarn_entries_used();
            default: {
                const char *list = mac.c_str();
                return sarn_update_pause_list(&list, random_() % 2, 1, 0);
            }
        }
    }

    void let_another_process_write() {
        const int row = static_cast<int>(random_() % 14);
        switch (random_() % 12) {
            case 0: fake::set("Sarnsignature", row, "Devicestate", any_state()); break;
            case 1: fake::set("DeviceIdList", row, "Timestamp", std::to_string(random_() % 1000)); break;
            case 2: put_device(row, "00:00:00:00:00:00", "unknown"); break;
            case 3: put_device(row, mac_of(20 + static_cast<int>(random_() % 4)), any_state(), "77"); break;
            case 4: fake::set("general", 0, "SARNSyncTimestamp", random_() % 6 == 0 ? "-1" : "1700000000"); break;
            case 5: gc_epochtime_array[random_() % 10] = {1, 1}; break;
            default: break;
        }
    }

    std::vector<Picture> play(uint32_t seed, bool has_changes) {
        SetUp();
        fake::offer_changes(has_changes);
        fake::set("general", 0, "SARNSyncTimestamp", "1700000000");
        random_.seed(seed);
        EXPECT_EQ(sarn_init(), SARN_OK);
        std::vector<Picture> pictures;
        for (int i = 0; i < 120; ++i) {
            now = 1700000000 + i / 3;
            let_another_process_write();
            Picture picture = {make_any_call(), sarn::inuse_count, sarn::last_sync_time, {}};
            append(picture.state, sarn::mapping_table);
            append(picture.state, sarn::inuse_bitmap);
            append(picture.state, sarn::offline_bitmap);
            append(picture.state, gc_epochtime_array);
            pictures.push_back(picture);
        }
        operations_ = fake::operations();
        (void)sarn_uninit();
        return pictures;
    }

    std::mt19937 random_;
    int operations_ = 0;
};

TEST_F(BuildMark, ARebuildThatIsLeftOutIsNotSeen) {
    long with = 0;
    long without = 0;
    for (uint32_t seed = 1; seed <= 60; ++seed) {
        const auto skipping = play(seed, true);
        with += operations_;
        const auto plain = play(seed, false);
        without += operations_;
        for (size_t i = 0; i < plain.size(); ++i) {
            ASSERT_TRUE(skipping[i] == plain[i])
                << "seed " << seed << ", call " << i << ": " << skipping[i].result << " and " << plain[i].result;
        }
    }
    EXPECT_LT(with, without) << "no rebuild was left out";
}
