#include <functional>
#include <random>
#include <thread>

#include "tests/platform/support.h"

namespace {

using sarn::Field;

class Groups : public StoreTest {
protected:
    void SetUp() override {
        StoreTest::SetUp();
        open();
    }
    int32_t begin(int32_t mode) { return kora_begin(handle, mode); }
    int32_t end(int32_t keep) { return kora_end(handle, keep); }
    // Some of every table, so that they lie far apart.
    int32_t set_step(int step, const char *value) {
        switch (step) {
            case 0: return set(value);
            case 1: return kora_set_ascii(handle, "ConnectDeviceinfo", 255, "ConnSSID", value);
            case 2: return kora_set_string(handle, "DeviceIdList", 9, "DisplayNameCustom", value);
            default: return kora_set_ascii(handle, "general", 0, "SARNSyncTimestamp", value);
        }
    }
    std::string steps() {
        char ssid[16], name[16], sync[16];
        kora_get_ascii(handle, "ConnectDeviceinfo", 255, "ConnSSID", ssid, sizeof ssid);
        kora_get_string(handle, "DeviceIdList", 9, "DisplayNameCustom", name, sizeof name);
        kora_get_ascii(handle, "general", 0, "SARNSyncTimestamp", sync, sizeof sync);
        return text() + ssid + name + sync;
    }
    static constexpr int STEPS = 4;
};

TEST_F(Groups, WritesAreKeptWholeOrNotAtAllHoweverTheyEnd) {
    const struct {
        const char *name;
        std::function<int32_t()> end;
        bool is_kept;
    } cases[] = {{"dropped", [&] { return end(0); }, false},
                 {"thread ends", [] { return 0; }, false},
                 {"kept", [&] { return end(1); }, true}};
    for (const auto &c : cases) {
        std::thread([&] {
            EXPECT_EQ(begin(KORA_WRITING), 0);
            for (int step = 0; step < STEPS; ++step) {
                EXPECT_EQ(set_step(step, "new"), 0);
                std::thread([&] { EXPECT_EQ(steps(), "") << "seen from outside"; }).join();
            }
            EXPECT_EQ(steps(), "newnewnewnew") << "not seen from inside";
            EXPECT_EQ(c.end(), 0) << c.name;
        }).join();
        EXPECT_EQ(steps(), c.is_kept ? "newnewnewnew" : "") << c.name;
        EXPECT_EQ(set("after", "DeviceOS"), 0) << c.name;
    }
    const size_t before = last_transaction(path);
    EXPECT_EQ(begin(KORA_WRITING) + set("new") + end(1), 0);
    EXPECT_EQ(last_transaction(path), before) << "nothing changed";
}

TEST_F(Groups, AReaderSeesOneSnapshotAndWritesNothing) {
    ASSERT_EQ(set_step(0, "old"), 0);
    const uint64_t before = changes();
    ASSERT_EQ(begin(KORA_READING), 0);
    const std::string first = steps();
    std::thread([&] {
        for (int step = 0; step < STEPS; ++step) EXPECT_EQ(set_step(step, "new"), 0);
    }).join();
    EXPECT_EQ(steps(), first);
    EXPECT_EQ(changes(), before);
    EXPECT_NE(set("refused"), 0);
    EXPECT_EQ(end(1), 0);
    EXPECT_EQ(steps(), "newnewnewnew");
    EXPECT_NE(changes(), before);
    std::thread([&] { EXPECT_EQ(begin(KORA_READING), 0); }).join();
    close();  // would wait for the thread's reader
    open();
}

TEST_F(Groups, MisuseIsRefusedAndHarmsNothing) {
    void *second = kora_init_ex(nullptr);
    EXPECT_NE(end(1), 0);
    EXPECT_NE(kora_begin(nullptr, KORA_READING), 0);
    EXPECT_NE(kora_begin(&path, KORA_WRITING), 0);
    EXPECT_NE(begin(2), 0);
    for (const int32_t mode : {KORA_READING, KORA_WRITING}) {
        ASSERT_EQ(begin(mode), 0);
        EXPECT_TRUE(begin(KORA_READING) != 0 && begin(KORA_WRITING) != 0) << "nested";
        EXPECT_TRUE(kora_end(second, 0) != 0 && kora_end(nullptr, 0) != 0) << "end under another handle";
        EXPECT_EQ(kora_init_ex(nullptr), nullptr);
        EXPECT_TRUE(kora_destroy(second) != 0 && kora_destroy(handle) != 0);
        EXPECT_NE(kora_save(handle), 0);
        EXPECT_NE(set(std::string(KORA_TEXT_MAX + 1, 'x')), 0);
        EXPECT_EQ(set("kept") == 0, mode == KORA_WRITING);
        EXPECT_EQ(end(1), 0);
    }
    EXPECT_EQ(text(), "kept") << "one call refused for its arguments does not spoil the group";

    ASSERT_EQ(kora_begin(second, KORA_WRITING), 0);
    ASSERT_EQ(kora_set_ascii(second, "DeviceIdList", 0, "DeviceHostname", "half"), 0);
    std::thread([&] { EXPECT_EQ(kora_destroy(second), 0); }).join();
    EXPECT_NE(kora_set_ascii(second, "DeviceIdList", 0, "DeviceOS", "other half"), 0);
    EXPECT_NE(kora_end(second, 1), 0);
    EXPECT_EQ(text(), "kept") << "half of what was closed meanwhile";
    EXPECT_NE(kora_end(second, 0), 0);
}

// Of what lies row by row and of what lies field by field.
TEST_F(Groups, ReadsInAnyOrderFindWhatIsThere) {
    const char *const fields[] = {"DeviceOS", "Timestamp", "DeviceModel"};
    std::mt19937 random(5);
    std::string expected[3][sarn::ROW_COUNT];
    const auto write_any_text = [&](size_t longest) {
        const size_t field = random() % 3;
        const int32_t row = static_cast<int32_t>(random() % sarn::ROW_COUNT);
        ASSERT_EQ(set(expected[field][row] = std::string(random() % longest, 'x'), fields[field], row), 0);
    };
    const auto expect_row = [&](int32_t row) {
        for (const int field : {0, 1, 2}) EXPECT_EQ(text(fields[field], row), expected[field][row]) << row;
    };
    for (int i = 0; i < 360; ++i) write_any_text(10);
    for (const int32_t mode : {KORA_READING, KORA_WRITING}) {
        ASSERT_EQ(begin(mode), 0);
        for (int i = 0; i < 6 * sarn::ROW_COUNT; ++i) {
            const int32_t walk[] = {i, sarn::ROW_COUNT - 1 - i, static_cast<int32_t>(random())};
            expect_row(walk[i / (2 * sarn::ROW_COUNT)] & 0xff);
            if (mode == KORA_WRITING && i % 3 == 0) write_any_text(99);
        }
        EXPECT_EQ(end(1), 0);
        for (int32_t row = 0; row < sarn::ROW_COUNT; ++row) expect_row(row);
    }
}

TEST_F(Groups, TheChangeNumberMovesWithWhatARebuildReads) {
    const uint8_t mac[] = {2, 0, 0, 0, 0, 1}, other[] = {2, 0, 0, 0, 0, 2};
    const auto state = [&](const char *value) {
        return kora_set_enum(handle, "Sarnsignature", 4, "Devicestate", value);
    };
    const auto time = [&](const char *value) { return set(value, "Timestamp", 4); };
    const struct {
        const char *name;
        std::function<int32_t()> call;
        bool moves;
    } cases[] = {
        {"new row", [&] { return kora_set_mac(handle, "Sarnsignature", 4, "DeviceMAC", mac); }, true},
        {"same again", [&] { return kora_set_mac(handle, "Sarnsignature", 4, "DeviceMAC", mac); }, false},
        {"mirror", [&] { return kora_set_mac(handle, "ConnectDeviceinfo", 4, "DeviceMAC", mac); }, true},
        {"third address", [&] { return kora_set_mac(handle, "DeviceIdList", 4, "DeviceMAC", other); }, false},
        {"time of a row that is unknown", [&] { return time("1"); }, true},
        {"up", [&] { return state("UP"); }, true},
        {"time of a row that is up", [&] { return time("2"); }, false},
        {"down", [&] { return state("DOWN"); }, true},
        {"time of a row that is down", [&] { return time("3"); }, true},
        {"unknown to a short buffer", [&] { return state("unknown2"); }, true},
        {"its time", [&] { return time("7"); }, true},
        {"down in small letters", [&] { return state("down"); }, true},
        {"its time", [&] { return time("4"); }, false},
        {"sync timestamp", [&] { return kora_set_ascii(handle, "general", 0, "SARNSyncTimestamp", "9"); }, true},
        {"name", [&] { return kora_set_string(handle, "DeviceIdList", 4, "DisplayNameCustom", "x"); }, false},
        {"signal", [&] { return kora_set_ascii(handle, "ConnectDeviceinfo", 4, "DeviceSignalStrength", "x"); }, false},
        {"access", [&] { return kora_set_enum(handle, "Sarnsignature", 4, "AllowOrBlock", "block"); }, false},
        {"refused", [&] { return state(nullptr) == 0; }, false},
        {"dropped group", [&] { return begin(KORA_WRITING) + state("UP") + end(0); }, false},
        {"kept group", [&] { return begin(KORA_WRITING) + state("UP") + time("5") + end(1); }, true},
        {"group of nothing that counts", [&] { return begin(KORA_WRITING) + time("6") + end(1); }, false},
        {"another process", [&] { return run_process([&] { return state("DOWN"); }); }, true},
    };
    for (const auto &c : cases) {
        const uint64_t before = changes();
        EXPECT_EQ(c.call(), 0) << c.name;
        EXPECT_EQ(changes() != before, c.moves) << c.name;
    }
    ASSERT_EQ(begin(KORA_WRITING), 0);
    EXPECT_EQ(state("UP"), 0);
    const uint64_t inside = changes();
    EXPECT_EQ(end(1), 0);
    EXPECT_EQ(changes(), inside);
    EXPECT_NE(kora_changes(handle, nullptr), 0);
    uint64_t number = 0;
    EXPECT_NE(kora_changes(nullptr, &number), 0);
}

}  // namespace
