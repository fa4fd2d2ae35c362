// Values, one by one, in groups, and shared by threads and processes.
#include "tests/platform/support.h"

namespace {

using Fields = StoreTest;
using Groups = StoreTest;

TEST_F(Fields, RefusedCallsChangeNothing) {
    open();
    ASSERT_EQ(set("kept"), 0);
    const std::string before = content_of(path), long_text(KORA_TEXT_MAX + 1, 'x');
    const char *const devices = "DeviceIdList", *const name = "DeviceHostname";
    const std::tuple<const char *, int32_t, const char *, const char *> writes[] = {
        {nullptr, 0, name, "null table"},
        {devices, 0, nullptr, "null field"},
        {devices, 0, name, nullptr},
        {devices, 0, name, long_text.c_str()},
        {"DeviceIdlist", 0, name, "unknown table"},
        {devices, 0, long_text.c_str(), "long name"},
        {devices, 0, "ConnSSID", "field of another table"},
        {"", 0, "", "empty names"},
        {devices, -1, name, "row -1"},
        {devices, 256, name, "row 256"},
        {"general", 1, "SARNSyncTimestamp", "row 1 of a single row"}};
    for (const auto &[table, row, field, value] : writes)
        EXPECT_NE(kora_set_ascii(handle, table, row, field, value), 0) << (value != nullptr ? value : "null text");
    for (int i = 0; i < 8 * sarn::FIELD_COUNT; ++i) {
        const auto field = static_cast<sarn::Field>(i / 8);
        const auto type = static_cast<sarn::Type>(i % 8);
        const bool is_own = type == sarn::spec_of(field).type;
        EXPECT_TRUE(is_own || write_as(type, handle, field, 0, {.text = "x"}) != 0)
            << sarn::spec_of(field).name << i % 8;
    }
    char buffer[8] = "as was";
    const int32_t others[] = {kora_set_mac(handle, devices, 0, "DeviceMAC", nullptr),
                              kora_get_ascii(handle, devices, 0, name, nullptr, 8),
                              kora_get_bool(handle, "FeatureCfg", 0, "NDNEnable", nullptr),
                              kora_get_ascii(handle, devices, 0, name, buffer, 0),
                              kora_get_ascii(handle, devices, 0, "DisplayNameCustom", buffer, 8),
                              kora_get_enum(handle, devices, 0, name, buffer, 8)};
    for (const int32_t &result : others) EXPECT_NE(result, 0) << &result - others;
    EXPECT_TRUE(buffer == std::string("as was") && content_of(path) == before);
}

TEST_F(Fields, ValuesAreCutOrMadeToFit) {
    open();
    char buffer[8] = "";
    ASSERT_EQ(set("router"), 0);
    for (const size_t size : {1U, 6U, 7U}) {
        memset(buffer, '#', sizeof buffer);
        EXPECT_EQ(kora_get_ascii(handle, "DeviceIdList", 0, "DeviceHostname", buffer, static_cast<int32_t>(size)), 0);
        EXPECT_TRUE(buffer == std::string("router").substr(0, size - 1) && buffer[size] == '#') << size;
    }
    for (const std::string &value : {std::string(KORA_TEXT_MAX, '\xff'), std::string("longest"), std::string("long")})
        EXPECT_TRUE(set(value) == 0 && text() == value) << value;
    const std::string before = content_of(path);
    EXPECT_EQ(set("long") + set("", "DeviceModel"), 0);
    EXPECT_TRUE(content_of(path) == before) << "a transaction that changes nothing";
    EXPECT_EQ(kora_get_ascii(handle, "Sarnsignature", 255, "Devicestate", buffer, sizeof buffer), 0);
    EXPECT_STREQ(buffer, "unknown") << "an enum reads as a text too";
}

TEST(Addresses, AreReadWholeOrNotAtAll) {
    uint8_t bytes[] = {7, 7, 7, 7, 7, 7};
    for (const char *text : {"aa:00:ff:10:0b:c1 ", "aa:00:ff:10:0b:c", "aa:00:ff:10:0b:cg", "aa-00:ff:10:0b:c1"})
        EXPECT_NE(kora_string2mac(text, bytes), 0) << text;
    for (const char *text : {"1.2.3.256", "1.2.3", "1.2.3.4.5", "1..2.3", "1.2.3.0004", "0x1.2.3.4", ""})
        EXPECT_NE(kora_string2ipv4(text, bytes), 0) << text;
    EXPECT_TRUE(kora_string2mac(nullptr, bytes) != 0 && kora_string2mac("aa:00:ff:10:0b:c1", nullptr) != 0);
    EXPECT_TRUE(kora_string2ipv4(nullptr, bytes) != 0 && kora_string2ipv4("1.2.3.4", nullptr) != 0);
    EXPECT_EQ(memcmp(bytes, "\7\7\7\7\7\7", 6), 0) << "written though refused";
    EXPECT_TRUE(kora_string2mac("aA:00:ff:19:0b:C1", bytes) == 0 && memcmp(bytes, "\xaa\0\xff\x19\x0b\xc1", 6) == 0);
    EXPECT_TRUE(kora_string2ipv4("192.168.001.255", bytes) == 0 && memcmp(bytes, "\xc0\xa8\1\xff\x0b", 5) == 0);
}

TEST_F(Groups, AreOneSnapshotAndKeptWholeOrNotAtAll) {
    open();
    // Far apart, and one of them what a rebuild reads.
    const auto set_both = [&](const char *value) { return set(value) + set(value, "Timestamp", 255); };
    const auto both = [&] { return text() + text("Timestamp", 255); };
    for (const std::string end : {"dropped", "thread ends", "kept"}) {
        const uint64_t before = changes();
        ASSERT_EQ(kora_begin(handle, KORA_READING), 0);
        std::thread([&] {
            EXPECT_EQ(kora_begin(handle, KORA_WRITING) + set_both("new"), 0);
            std::thread([&] { EXPECT_EQ(both(), "") << "seen from outside"; }).join();
            EXPECT_EQ(both(), "newnew") << "not seen from inside";
            EXPECT_TRUE(end == "thread ends" || kora_end(handle, end == "kept") == 0);
        }).join();
        EXPECT_TRUE(both() == "" && changes() == before) << "not one snapshot";
        EXPECT_EQ(kora_end(handle, 1), 0);
        EXPECT_EQ(both(), end == "kept" ? "newnew" : "") << end;
        EXPECT_EQ(changes() != before, end == "kept") << end;
    }
    std::thread([&] { EXPECT_EQ(kora_begin(handle, KORA_READING), 0); }).join();
    close();  // would wait for the thread's reader
}

TEST_F(Groups, AWriterWaitsForNobodyWhoReads) {
    constexpr int READERS = 32;  // as many as a process has
    open();
    std::latch reading(READERS), is_over(1);
    std::vector<std::jthread> threads;
    for (int i = 0; i < READERS; ++i)
        threads.emplace_back([&] {
            EXPECT_EQ(kora_begin(handle, KORA_READING), 0);
            reading.count_down();
            is_over.wait();
            EXPECT_EQ(kora_end(handle, 0), 0);
        });
    reading.wait();
    alarm(60);
    EXPECT_EQ(kora_begin(handle, KORA_WRITING) + set("new") + kora_end(handle, 1), 0);
    alarm(0);
    is_over.count_down();
}

TEST_F(Groups, MisuseIsRefusedAndHarmsNothing) {
    open();
    const std::string too_long(KORA_TEXT_MAX + 1, 'x');
    void *const second = kora_init_ex(nullptr);
    EXPECT_TRUE(kora_end(handle, 1) != 0 && kora_begin(&path, KORA_WRITING) != 0 && kora_begin(handle, 2) != 0);
    for (const int32_t mode : {KORA_READING, KORA_WRITING}) {
        ASSERT_EQ(kora_begin(handle, mode), 0);
        EXPECT_TRUE(kora_begin(handle, KORA_READING) != 0 && kora_begin(handle, KORA_WRITING) != 0) << "nested";
        EXPECT_TRUE(kora_end(second, 0) != 0 && kora_destroy(second) != 0 && kora_destroy(handle) != 0);
        EXPECT_TRUE(kora_save(handle) != 0 && kora_init_ex(nullptr) == nullptr && set(too_long) != 0);
        EXPECT_EQ(set("kept") == 0, mode == KORA_WRITING);
        EXPECT_EQ(kora_end(handle, 1), 0);
    }
    EXPECT_EQ(text(), "kept") << "one call refused for its arguments does not spoil the group";
    ASSERT_EQ(kora_begin(second, KORA_WRITING), 0);
    ASSERT_EQ(kora_set_ascii(second, "DeviceIdList", 0, "DeviceHostname", "half"), 0);
    std::thread([&] { EXPECT_EQ(kora_destroy(second), 0); }).join();
    EXPECT_NE(kora_end(second, 1), 0);
    EXPECT_EQ(text(), "kept") << "half of what was closed meanwhile";
}

TEST_F(Groups, TheChangeNumberMovesWithWhatARebuildReads) {
    open();
    const auto begin = [&] { return kora_begin(handle, KORA_WRITING); };
    const auto state = [&](const char *is) { return kora_set_enum(handle, "Sarnsignature", 4, "Devicestate", is); };
    const auto time = [&](const char *value) { return set(value, "Timestamp", 4); };
    const std::tuple<const char *, bool, std::function<int32_t()>> cases[] = {
        {"time of a row that is unknown", true, [&] { return time("1"); }},
        {"up", true, [&] { return state("UP"); }},
        {"time of a row that is up", false, [&] { return time("2"); }},
        {"group of nothing that counts", false, [&] { return begin() + time("5") + kora_end(handle, 1); }},
        {"unknown to a short buffer", true, [&] { return state("unknown2"); }},
        {"its time", true, [&] { return time("3"); }},
        {"another process", true, [&] { return run_process([&] { return state("DOWN"); }); }},
        {"time of a row that is down", true, [&] { return time("6"); }},
    };
    for (const auto &[name, moves, call] : cases) {
        const uint64_t before = changes();
        EXPECT_EQ(call(), 0) << name;
        EXPECT_EQ(changes() != before, moves) << name;
    }
    ASSERT_EQ(begin() + state("UP"), 0);
    const uint64_t inside = changes();
    EXPECT_EQ(kora_end(handle, 1), 0);
    EXPECT_EQ(changes(), inside);
    EXPECT_NE(kora_changes(handle, nullptr), 0);
}

class Shared : public StoreTest {
protected:
    // Another process, once it has stopped itself.
    static pid_t start_stopped(const std::function<int()> &body) {
        int status = 0;
        const pid_t process = start_process(body);
        EXPECT_TRUE(waitpid(process, &status, WUNTRACED) == process && WIFSTOPPED(status));
        return process;
    }
    static void kill_process(pid_t process) {
        kill(process, SIGKILL);
        EXPECT_EQ(end_of(process), KILLED);
    }
};

#ifdef __SANITIZE_THREAD__
constexpr int LEFT = 1;  // through which LMDB writes where it has no map to write in
#else
constexpr int LEFT = 0;
#endif

TEST_F(Shared, AForkedChildOpensItsOwnAndKeepsNoDescriptorOfTheParents) {
    const auto descriptors = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); };
    open();
    EXPECT_EQ(text(), "");
    const auto before = descriptors();
    const auto use = [&] { return set("child's") != 0 || descriptors() != before + LEFT || kora_destroy(handle) != 0; };
    EXPECT_EQ(run_process(use), 0);
    EXPECT_TRUE(text() == "child's" && set("parent's") == 0 && text() == "parent's");
}

TEST_F(Shared, ClosingWaitsForThoseInside) {
    for (int round = 0; round < 50; ++round) {
        std::atomic<int> inside{0};
        std::vector<std::jthread> threads;
        open();
        for (int32_t row = 0; row < 3; ++row)
            threads.emplace_back([&, row] {
                for (int n = 0; set(std::to_string(n), "DeviceModel", row) == 0; ++n) inside |= text().empty() << row;
            });
        while (inside != 7) std::this_thread::yield();
        close();
    }
}

TEST_F(Shared, AFullStoreKeepsWhatItHeldAndRecovers) {
    open();
    ASSERT_EQ(set("kept", "DeviceUUID"), 0);
    // While it sees its snapshot, no page of that is used again.
    const pid_t reader = start_stopped([&] { return kora_begin(handle, KORA_READING) != 0 ? 1 : raise(SIGSTOP); });
    int written = 0, removed = 0;
    const std::string log = log_of([&] {
        for (bool has_room = true; has_room && written < 100'000; written += has_room) {
            EXPECT_EQ(kora_begin(handle, KORA_WRITING), 0);
            has_room = set(std::to_string(written), "DeviceHostname", written % 256) == 0;
            EXPECT_EQ(kora_end(handle, has_room), 0);
        }
        EXPECT_NE(set("another that fails"), 0);
    });
    EXPECT_TRUE(log.find("cannot write the store: it is full") != std::string::npos && lines_of(log) == 1) << log;
    EXPECT_EQ(kora_begin(handle, KORA_WRITING), 0);
    EXPECT_TRUE(set("does not fit") != 0 && set("", "DeviceUUID") != 0) << "nothing of this group is kept";
    EXPECT_NE(kora_end(handle, 1), 0);

    // Removals go on into the last pages, and the one that finds none is undone whole.
    const auto remove_next = [&] {
        bool is_written = kora_begin(handle, KORA_WRITING) == 0 && set("", "DeviceHostname", removed) == 0;
        for (int row = 0; row < 256; row += 64)
            is_written = is_written && set("removal " + std::to_string(removed), "DeviceOS", row) == 0;
        return kora_end(handle, 1) == 0 && is_written;
    };
    while (remove_next()) ++removed;
    EXPECT_TRUE(removed > 2 && removed < 256) << removed;
    EXPECT_EQ(text("DeviceUUID"), "kept");
    for (int row = 0; row < 256; row += 64) EXPECT_EQ(text("DeviceOS", row), "removal " + std::to_string(removed - 1));
    for (int i = written - 256; i < written; ++i)
        EXPECT_EQ(text("DeviceHostname", i % 256), i % 256 < removed ? "" : std::to_string(i));
    kill_process(reader);
    for (int i = 0; i < 256; ++i) EXPECT_EQ(set("", "DeviceHostname", i), 0) << "a dead reader still holds pages";
}

TEST_F(Shared, AStoppedWriterIsNamedAndKeepsNoReaderWaiting) {
    open();
    const pid_t stopped = start_stopped([&] { return kora_begin(handle, KORA_WRITING) != 0 ? 1 : raise(SIGSTOP); });
    int32_t process = 0;
    EXPECT_TRUE(kora_writing_process(handle, &process) == 0 && process == stopped) << process;
    EXPECT_EQ(text(), "");
    kill_process(stopped);
    EXPECT_EQ(set("new"), 0);
    EXPECT_TRUE(kora_writing_process(handle, &process) == 0 && process == 0) << process;
}

}  // namespace
