#include "platform/kora_folder.h"
#include "tests/platform/support.h"

namespace {

class Saved : public StoreTest {
protected:
    // Whether the call leaves another copy than there was.
    bool is_saved_by(const std::function<int32_t()> &call) {
        struct stat old = {}, now = {};
        stat(saved.c_str(), &old);
        EXPECT_EQ(call(), 0);
        stat(saved.c_str(), &now);
        return now.st_ino != old.st_ino;
    }
    // Another value for each seed, but of a flag. Whether it reads back.
    bool write(sarn::Field field, int32_t row, uint8_t seed) {
        const Value value = {{'t', static_cast<char>(seed)}, {seed, 2, 3, 4, 5, 6}, 1, 0U - seed};
        Value found;
        return write_as(sarn::spec_of(field).type, handle, field, row, value) == 0 &&
               read_any(handle, field, row, found) == 0 &&
               (found.flag == 1 || found.number == value.number || memcmp(found.bytes, value.bytes, 4) == 0 ||
                strcmp(found.text, value.text) == 0);
    }
    void reopen() {
        lose_live_store();
        open();
    }
    int32_t rename(const std::string &name) { return set(name, "DeviceUUID"); }
    std::string name() { return text("DeviceUUID"); }
    void make_two_copies() {
        open();
        for (const char *name : {"before", "last"}) ASSERT_EQ(rename(name) + kora_save(handle), 0);
        lose_live_store();
        last = content_of(saved);
        before = content_of(saved + ".1");
    }
    // Where this and the one before lie: what opening says, and the name that is there then.
    std::pair<std::string, std::string> restore(const std::string &copy) {
        write_file(saved, copy);
        write_file(saved + ".1", before);
        const std::string log = log_of([&] { open(); }), restored = name();
        lose_live_store();
        return {log, restored};
    }
    std::string last, before;
};

TEST_F(Saved, AllRowsAndFlagsComeBack) {
    const auto pass = [&](bool is_writing) {
        std::vector<Value> found;
        EXPECT_EQ(kora_begin(handle, is_writing ? KORA_WRITING : KORA_READING), 0);
        for (int i = 0; i < sarn::FIELD_COUNT; ++i) {
            const auto field = static_cast<sarn::Field>(i);
            for (int32_t row = 0; row < sarn::table_of(field).rows; ++row) {
                EXPECT_TRUE(!is_writing || write(field, row, static_cast<uint8_t>(found.size() + 1)));
                EXPECT_EQ(read_any(handle, field, row, found.emplace_back()), 0);
            }
        }
        EXPECT_EQ(kora_end(handle, 1), 0);
        return found;
    };
    std::string calls;
    open();
    faults::trace = &calls;
    const std::vector<Value> written = pass(true);
    faults::trace = nullptr;
    EXPECT_EQ(calls, "docwsmss") << "written, synced, moved, and the folders synced";
    reopen();
    EXPECT_TRUE(pass(false) == written);
}

TEST_F(Saved, EachFieldSavesOrMovesTheChangeNumberOrNeither) {
    const std::string decided =
        "Sarnsignature.DeviceMAC DeviceIdList.DisplayNameCustom DeviceIdList.DeviceTypeCustom "
        "DeviceIdList.DisplayModelCustom DeviceIdList.DisplayBrandCustom DeviceIdList.DeviceUUID "
        "Sarnsignature.AllowOrBlock Sarnsignature.IsTagged FeatureCfg.ACLEnable FeatureCfg.NDNEnable "
        "General.SARNTableupgradestatus SarnFWupgrade.FWStatusswitch ";
    const std::string rebuilt =
        "Sarnsignature.DeviceMAC ConnectDeviceinfo.DeviceMAC Sarnsignature.Devicestate "
        "general.SARNSyncTimestamp ";
    open();
    ASSERT_EQ(kora_save(handle), 0);
    for (int i = 0; i < sarn::FIELD_COUNT; ++i) {
        const auto field = static_cast<sarn::Field>(i);
        const std::string name = sarn::table_of(field).name + std::string(".") + sarn::spec_of(field).name + " ";
        const uint64_t number = changes();
        faults::seconds_later += 60;
        EXPECT_EQ(is_saved_by([&] { return !write(field, 0, 1); }), decided.find(name) != std::string::npos) << name;
        EXPECT_EQ(changes() != number, rebuilt.find(name) != std::string::npos) << name;
        EXPECT_FALSE(is_saved_by([&] { return kora_save(handle); })) << name << "would say the same";
    }
}

TEST_F(Saved, AtMostOnceInAMinuteWhoeverMakesTheChange) {
    const std::tuple<const char *, int, std::function<int32_t()>, bool> cases[] = {
        {"first", 0, [&] { return rename("first"); }, true},
        {"59 seconds later", 59, [&] { return rename("second"); }, false},
        {"a minute after the first, by any write", 1, [&] { return close(), open(), set("x"); }, true},
        {"nothing left to save", 60, [&] { return set("y"); }, false},
        {"another process", 0, [&] { return run_process([&] { return rename("third"); }); }, true},
        {"after another process", 0, [&] { return rename("fourth"); }, false},
        {"dropped", 60, [&] { return kora_begin(handle, 1) + rename("fifth") + kora_end(handle, 0); }, false},
        {"asked for", 0, [&] { return kora_save(handle); }, true},
    };
    open();
    for (const auto &[name, seconds_later, call, is_saved] : cases) {
        faults::seconds_later += seconds_later;
        EXPECT_EQ(is_saved_by(call), is_saved) << name;
    }
}

TEST_F(Saved, WhatIsDecidedWhileASaveRunsIsSavedToo) {
    open();
    faults::meanwhile = [&] { EXPECT_EQ(rename("meanwhile"), 0); };
    faults::meanwhile_at = 's';
    EXPECT_EQ(rename("first"), 0);
    faults::seconds_later += 60;
    EXPECT_EQ(set("any write"), 0);
    reopen();
    EXPECT_EQ(name(), "meanwhile");
    // Forked before, since no fork comes between while a folder is opened.
    int start[2];
    ASSERT_EQ(pipe(start), 0);
    const pid_t other = start_process([&] {
        char letter;
        return read(start[0], &letter, 1) != 1 || rename("newer") + kora_save(handle) != 0;
    });
    faults::meanwhile = [&] { EXPECT_TRUE(::write(start[1], "x", 1) == 1 && end_of(other) == 0); };
    faults::meanwhile_at = 'd';
    EXPECT_EQ(kora_save(handle), 0);
    reopen();
    EXPECT_EQ(name(), "newer") << "an older snapshot over it";
}

TEST_F(Saved, ACopyThatIsNotWholeIsSetAsideAndTheOneBeforeTried) {
    make_two_copies();
    // With the length and the checksum that it must have.
    const auto sealed = [](std::string image) {
        const auto put = [&](size_t at, size_t number) {
            for (size_t i = 0; i < 4; ++i) image[at + i] = static_cast<char>(number >> 8 * i);
        };
        put(12, image.size());
        put(image.size() - 4, kora::checksum(0, image.data(), image.size() - 4));
        return image;
    };
    // One more field, with the value "x", that this schema does not have so; the names begin with their lengths.
    const auto with = [&](const std::string &field) {
        return sealed(last.substr(0, last.size() - 4) + field + std::string("\1\0\0\1\0xseal", 10));
    };
    const std::tuple<std::string, std::string, const char *> cases[] = {
        {last, "", "last"},
        {"", "not a saved copy", "before"},
        {sealed(std::string(last).replace(8, 1, "\2")), "of a newer version", "before"},
        {last + std::string(5 << 20, 'x'), "damaged; set aside", "before"},
        {with("\7Devices\12DeviceUUIDt"), "", "last"},
        {with("\14DeviceIdList\12Produceridn"), "", "last"},
        {with("\14DeviceIdList\12DeviceUUIDn"), "", "last"},
        {with("\14DeviceIdList\11DeviceMACm"), "", "last"},
        {sealed(last.substr(0, last.size() - 4) + "\377Deviceseal"), "damaged", "before"},
    };
    for (const auto &[copy, reason, name] : cases) {
        const auto [log, restored] = restore(copy);
        EXPECT_EQ(restored, name) << log << copy.substr(0, 200);
        EXPECT_TRUE(lines_of(log) == !reason.empty() && log.find(reason) != std::string::npos) << log;
    }
    before = "damaged as well";
    EXPECT_EQ(lines_of(restore("x").first), 2);
}

TEST_F(Saved, NoChangedByteAndNoLengthPasses) {
    make_two_copies();
    for (size_t at = 0; at < 2 * last.size(); ++at) {
        std::string spoiled = last.substr(0, at < last.size() ? last.size() : at - last.size());
        if (at < last.size()) spoiled[at] = static_cast<char>(spoiled[at] ^ (1 << at % 8));
        EXPECT_EQ(restore(spoiled).second, "before") << at;
        EXPECT_TRUE(content_of(saved + "~") == spoiled) << at;
    }
}

TEST_F(Saved, ACutOrAFailureAtAnyCallLeavesTheLastOrTheOneBefore) {
    for (const bool kills : {true, false}) {
        int result = 1;
        for (int call = 1; result != 0; ++call) {
            make_two_copies();
            open();
            result = run_process([&] {
                testing::internal::CaptureStderr();  // its line is no call of the save
                faults::is_killing = kills;
                faults::calls_until = call;
                const int32_t failed = rename("new");
                return faults::calls_until < 0 ? 3 : failed;
            });
            EXPECT_TRUE(result == 0 ? call > 8 : result == (kills ? KILLED : 3)) << call << ": " << result;
            lose_live_store();
            EXPECT_EQ(log_of([&] { open(); }), "") << call;
            EXPECT_TRUE(name() == "new" || (result != 0 && name() == "last")) << call << name();
            EXPECT_EQ(rename("next") + kora_save(handle), 0) << call;
            reopen();
            EXPECT_EQ(name(), "next") << call;
            lose_live_store();
        }
    }
}

TEST_F(Saved, AListThatBeganWithoutTheCopyKeepsItAndDoesNotPushItOut) {
    const std::string unseen = folder + "/unseen", other = saved + ".other";
    make_two_copies();
    const auto begin_without = [&] {
        std::filesystem::rename(saved, unseen);
        std::filesystem::remove(saved + ".1");
        open();
        std::filesystem::rename(unseen, saved);
    };
    begin_without();
    std::filesystem::create_directories(other + "/taken");
    EXPECT_EQ(lines_of(log_of([&] { rename("second"), kora_save(handle); })), 0) << "not the first of its kind";
    std::filesystem::remove_all(other);
    lose_live_store();
    last = content_of(saved);
    begin_without();
    faults::read_error = EMFILE;
    EXPECT_NE(log_of([&] { rename("third"), kora_save(handle); }).find("the last one cannot be read"),
              std::string::npos);
    faults::read_error = 0;
    EXPECT_TRUE(content_of(saved) == last && !std::filesystem::exists(saved + ".1"));
    EXPECT_NE(log_of([&] { kora_save(handle); }).find("of another list; kept as"), std::string::npos);
    for (const char *name : {"newer", "newest"}) EXPECT_EQ(log_of([&] { rename(name), kora_save(handle); }), "");
    reopen();
    EXPECT_EQ(name(), "newest");
    const std::string newest = content_of(saved);
    EXPECT_EQ(rename("of the restored list") + kora_save(handle), 0);
    EXPECT_TRUE(content_of(saved + ".1") == newest) << "its own";
    EXPECT_TRUE(content_of(other) == last);
}

TEST_F(Saved, TheOneBeforeIsKeptTooWhereItIsAllThatIsLeftOfAnotherList) {
    make_two_copies();
    for (const char *last_copy : {"", "damaged"}) {
        for (const char *end : {"", ".1", ".other"}) std::filesystem::remove(saved + end);
        open();
        write_file(saved + ".1", before);
        if (*last_copy != '\0') write_file(saved, last_copy);
        const std::string log = log_of([&] { EXPECT_EQ(rename("new") + kora_save(handle), 0); });
        EXPECT_NE(log.find("saved.1: of another list; kept as"), std::string::npos) << log;
        for (const char *name : {"newer", "newest"}) EXPECT_EQ(rename(name) + kora_save(handle), 0);
        EXPECT_TRUE(content_of(saved + ".other") == before);
        lose_live_store();
    }
}

// The folder is locked, and would stay so where the parent ends before it unlocks it. The child asks for no memory:
// a sanitizer's allocator may have been locked by the saving thread when it was copied.
TEST_F(Saved, AForkBesideASaveLeavesTheChildNoCopyOfItsFolder) {
    open();
    std::atomic<bool> is_over{false};
    std::thread saver([&] {
        for (int i = 0; !is_over; ++i) EXPECT_EQ(rename("name " + std::to_string(i)) + kora_save(handle), 0);
    });
    struct stat looked_for = {};
    EXPECT_EQ(stat(folder.c_str(), &looked_for), 0);
    const auto has_folder = [&] {
        struct stat found = {};
        for (int fd = 0; fd < 256; ++fd) {
            if (fstat(fd, &found) == 0 && kora::is_same_file(found, looked_for)) return true;
        }
        return false;
    };
    for (int i = 0; i < 400; ++i) EXPECT_EQ(run_process(has_folder), 0);
    is_over = true;
    saver.join();
}

TEST_F(Saved, WhatIsNoFileIsLeftAlone) {
    open();
    std::filesystem::create_symlink(folder + "/elsewhere", saved);
    EXPECT_NE(log_of([&] { EXPECT_NE(kora_save(handle), 0); }).find("saved: not a file"), std::string::npos);
    ASSERT_EQ(unlink(path.c_str()), 0);
    usleep(20'000);  // the library looks again when some milliseconds have passed
    const std::string log = log_of([&] { (void)changes(); });
    EXPECT_TRUE(log.find("opened again") != log.npos && log.find("saved: not a file") != log.npos) << log;
    EXPECT_TRUE(std::filesystem::is_symlink(saved));
}

TEST_F(Saved, WhatCannotBeSetAsideStays) {
    make_two_copies();
    std::filesystem::remove(saved);
    std::filesystem::remove(saved + ".1");
    open();
    write_file(saved, "somebody's");
    std::filesystem::create_directories(saved + "~/taken");
    EXPECT_EQ(lines_of(log_of([&] { rename("other"), kora_save(handle); })), 1);
    EXPECT_NE(kora_save(handle), 0);
    EXPECT_EQ(content_of(saved), "somebody's");
    write_file(saved, "KORAsave, damaged and long enough to be one");
    EXPECT_EQ(kora_save(handle), 0);
    reopen();
    EXPECT_EQ(name(), "other");
}

// A medium tells once that something did not come to it.
TEST_F(Saved, WhatFailedIsWrittenAnewThoughTheFolderShowsIt) {
    open();
    EXPECT_EQ(rename("saved by itself"), 0);
    bool is_failing = true;
    for (int call = 1; is_failing; ++call) {
        EXPECT_EQ(rename("name " + std::to_string(call)), 0);
        faults::calls_until = call;
        std::string calls;
        faults::trace = &calls;
        const bool has_failed = kora_save(handle) != 0;
        is_failing = faults::calls_until < 0;
        faults::calls_until = 0;
        const bool may_fail_unseen = strchr("dc", calls[static_cast<size_t>(call) - 1]) != nullptr;
        EXPECT_TRUE(has_failed || !is_failing || may_fail_unseen) << call << " " << calls;
        const bool is_taken_back = std::ranges::count(calls, 'm') > 2;
        EXPECT_EQ(std::filesystem::exists(saved + ".new"), is_taken_back) << call << " " << calls;
        calls.clear();
        EXPECT_EQ(kora_save(handle), 0) << call;
        faults::trace = nullptr;
        EXPECT_EQ(calls.find('w') != std::string::npos, has_failed) << call << " " << calls;
    }
}

TEST_F(Saved, WithoutAPlaceForItTheStoreWorksAndSaysSoOnce) {
    use(folder + "/store~");
    for (const char *taken : {"", "/none/none/saved", "/store~", "/store~-lock", "/store"}) {
        setenv("KORA_SAVE", (folder + taken).c_str(), 1);
        EXPECT_EQ(lines_of(log_of([&] { open(); })), 1) << taken;
        EXPECT_EQ(rename(taken), 0);
        EXPECT_NE(kora_save(handle), 0) << taken;
        EXPECT_EQ(log_of([&] { EXPECT_NE(kora_save(handle), 0); }), "") << taken;
        lose_live_store();
    }
    unsetenv("KORA_SAVE");
    open();
    EXPECT_NE(kora_save(handle), 0) << "the default copy is the default store's";
}

}  // namespace
