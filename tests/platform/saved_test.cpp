#include <functional>
#include <set>

#include "tests/platform/support.h"

namespace {

using sarn::Field;

class Saved : public StoreTest {
protected:
    ino_t inode() {
        struct stat status = {};
        return stat(saved.c_str(), &status) == 0 ? status.st_ino : 0;
    }
    int32_t rename(const char *name) { return kora_set_string(handle, "DeviceIdList", 0, "DisplayNameCustom", name); }
    std::string name() {
        char buffer[16] = "unread";
        kora_get_string(handle, "DeviceIdList", 0, "DisplayNameCustom", buffer, sizeof buffer);
        return buffer;
    }
    void make_two_copies() {
        open();
        for (const char *name : {"before", "last"}) ASSERT_TRUE(rename(name) == 0 && kora_save(handle) == 0);
        lose_live_store();
        last = content_of(saved);
        before = content_of(saved + ".1");
    }
    // A store is restored from these two copies; what it says meanwhile.
    std::string log_of_restoring(const std::string &newer, const std::string &older) {
        write_file(saved, newer);
        write_file(saved + ".1", older);
        return opening_log();
    }
    // With the length and the checksum that it must have.
    static std::string sealed(std::string image) {
        const auto length = static_cast<uint32_t>(image.size());
        memcpy(&image[12], &length, 4);
        const uint32_t check = kora::checksum(0, image.data(), image.size() - 4);
        memcpy(&image[image.size() - 4], &check, 4);
        return image;
    }
    std::string last, before;
};

TEST_F(Saved, AllRowsAndFlagsComeBack) {
    for (const bool is_written : {true, false}) {
        open();
        uint8_t seed = 1;
        for (int i = 0; i < sarn::FIELD_COUNT; ++i) {
            const auto field = static_cast<Field>(i);
            for (int32_t row = 0; row < sarn::table_of(field).rows; row += 51) {
                const Value expected = make_value(sarn::spec_of(field).type, seed++);
                Value found = expected;
                EXPECT_TRUE(!is_written || write_any(handle, field, row, expected) == 0);
                EXPECT_TRUE(is_written || read_any(handle, field, row, found = {}) == 0);
                EXPECT_TRUE(found == expected) << sarn::spec_of(field).name << " " << row;
            }
        }
        std::string calls;
        faults::trace = &calls;
        EXPECT_EQ(kora_save(handle), 0);
        faults::trace = nullptr;
        EXPECT_EQ(calls, is_written ? "ocwsmms" : "s") << "written, synced, moved, and the folder synced";
        const std::string copy = content_of(saved);
        lose_live_store();
        EXPECT_TRUE(content_of(saved) == copy);
    }
}

TEST_F(Saved, OnlyWhatSomeoneDecidedCausesASave) {
    const std::set<Field> decided = {Field::Sarnsignature_DeviceMAC,
                                     Field::DeviceIdList_DisplayNameCustom,
                                     Field::DeviceIdList_DeviceTypeCustom,
                                     Field::DeviceIdList_DisplayModelCustom,
                                     Field::DeviceIdList_DisplayBrandCustom,
                                     Field::Sarnsignature_AllowOrBlock,
                                     Field::Sarnsignature_IsTagged,
                                     Field::DeviceIdList_DeviceUUID,
                                     Field::FeatureCfg_ACLEnable,
                                     Field::FeatureCfg_NDNEnable,
                                     Field::General_SARNTableupgradestatus,
                                     Field::SarnFWupgrade_FWStatusswitch};
    open();
    ASSERT_EQ(kora_save(handle), 0);
    for (int i = 0; i < 2 * sarn::FIELD_COUNT; ++i) {
        const auto field = static_cast<Field>(i / 2);
        const sarn::Type type = sarn::spec_of(field).type;
        const bool is_grouped = i % 2 == 1, changes = !is_grouped || type != sarn::Type::Bool;
        SCOPED_TRACE(sarn::spec_of(field).name);
        faults::seconds_later += 60;
        const ino_t inode_before = inode();
        EXPECT_TRUE(!is_grouped || kora_begin(handle, KORA_WRITING) == 0);
        EXPECT_EQ(write_any(handle, field, 0, make_value(type, is_grouped ? 2 : 1)), 0);
        EXPECT_TRUE(!is_grouped || kora_end(handle, 1) == 0);
        EXPECT_EQ(inode() != inode_before, changes && decided.count(field) == 1);
        const ino_t inode_after = inode();
        EXPECT_EQ(kora_save(handle), 0);
        EXPECT_EQ(inode(), inode_after) << "would say the same";
    }
}

TEST_F(Saved, AtMostOnceInAMinuteWhoeverMakesTheChange) {
    open();
    const struct {
        const char *name;
        int seconds_later;
        std::function<int32_t()> call;
        bool is_saved;
    } cases[] = {
        {"first", 0, [&] { return rename("first"); }, true},
        {"at once", 0, [&] { return rename("second"); }, false},
        {"59 seconds later", 59, [&] { return rename("third"); }, false},
        {"a minute after the first, by any write", 1, [&] { return set("x"); }, true},
        {"nothing left to save", 60, [&] { return set("y"); }, false},
        {"another process", 0, [&] { return run_process([&] { return rename("fourth"); }); }, true},
        {"after another process", 0, [&] { return rename("fifth"); }, false},
        {"dropped", 60, [&] { return kora_begin(handle, 1) + rename("sixth") + kora_end(handle, 0); }, false},
        {"asked for", 0, [&] { return kora_save(handle); }, true},
    };
    for (const auto &c : cases) {
        faults::seconds_later += c.seconds_later;
        const ino_t before_it = inode();
        EXPECT_EQ(c.call(), 0) << c.name;
        EXPECT_EQ(inode() != before_it, c.is_saved) << c.name;
    }
    lose_live_store();
    open();
    EXPECT_EQ(name(), "fifth");
}

TEST_F(Saved, WhatIsDecidedWhileASaveRunsIsSavedToo) {
    open();
    faults::meanwhile = [&] { EXPECT_EQ(rename("meanwhile"), 0); };
    faults::meanwhile_at = 's';
    EXPECT_EQ(rename("first"), 0);
    faults::seconds_later += 60;
    EXPECT_EQ(set("any write"), 0);
    lose_live_store();
    open();
    EXPECT_EQ(name(), "meanwhile");

    faults::meanwhile = [&] { EXPECT_EQ(run_process([&] { return rename("newer") + kora_save(handle); }), 0); };
    faults::meanwhile_at = 'd';
    EXPECT_EQ(kora_save(handle), 0);
    lose_live_store();
    open();
    EXPECT_EQ(name(), "newer") << "an older snapshot over it";
}

TEST_F(Saved, ACopyThatIsNotWholeIsSetAsideAndTheOneBeforeTried) {
    make_two_copies();
    std::string newer = last;
    newer[8] = 2;
    const std::string older = saved + ".1";
    const auto write = [&](const std::string &content) { return [&, content] { write_file(saved, content); }; };
    const struct {
        const char *name;
        std::function<void()> spoil;
        const char *restored;
        int lines;
        const char *reason;
    } cases[] = {
        {"whole", [] {}, "last", 0, ""},
        {"absent", [&] { unlink(saved.c_str()); }, "before", 0, ""},
        {"damaged", write(last.substr(0, last.size() - 1) + "x"), "before", 1, "damaged; set aside"},
        {"empty", write(""), "before", 1, "not a saved copy"},
        {"foreign", write("letters\n"), "before", 1, "not a saved copy"},
        {"newer", write(sealed(newer)), "before", 1, "of a newer version"},
        {"longer than any", write(last + std::string(5 << 20, 'x')), "before", 1, "damaged"},
        {"link", [&] { (void)(unlink(saved.c_str()) + symlink(older.c_str(), saved.c_str())); }, "before", 1, "not a"},
        {"pipe", [&] { unlink(saved.c_str()), mkfifo(saved.c_str(), 0600); }, "before", 1, "not a saved copy"},
        {"both damaged", [&] { write_file(saved, "x"), write_file(older, "KORAsave"); }, "", 2, "saved.1~"},
        {"none", [&] { unlink(saved.c_str()), unlink(older.c_str()); }, "", 0, ""},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        for (const char *suffix : {"", ".1", "~", ".1~"}) unlink((saved + suffix).c_str());
        write_file(saved, last);
        write_file(older, before);
        c.spoil();
        const std::string log = opening_log();
        EXPECT_EQ(name(), c.restored);
        EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), c.lines) << log;
        EXPECT_NE(log.find(c.reason), std::string::npos) << log;
        EXPECT_EQ(std::filesystem::exists(std::filesystem::symlink_status(saved + "~")), c.lines > 0);
        EXPECT_EQ(kora_save(handle), 0);
        lose_live_store();
    }
}

TEST_F(Saved, NoChangedByteAndNoLengthPasses) {
    make_two_copies();
    for (size_t at = 0; at < 2 * last.size(); ++at) {
        std::string spoiled = last.substr(0, at < last.size() ? last.size() : at - last.size());
        if (at < last.size()) spoiled[at] = static_cast<char>(spoiled[at] ^ (1 << at % 8));
        (void)log_of_restoring(spoiled, before);
        EXPECT_EQ(name(), "before") << at;
        EXPECT_TRUE(content_of(saved + "~") == spoiled) << at;
        lose_live_store();
    }
}

TEST_F(Saved, WhatASchemaDoesNotHaveIsLeftOut) {
    make_two_copies();
    const auto field = [](const std::string &table, const std::string &name, char kind, const std::string &values) {
        return std::string(1, static_cast<char>(table.size())) + table + static_cast<char>(name.size()) + name + kind +
               std::string("\1\0", 2) + values;
    };
    const std::string value("\0\1\0x", 4), too_long = std::string("\0\2\1", 3) + std::string(258, 'x');
    const struct {
        const char *name;
        std::string fields;
        bool is_whole;
    } cases[] = {
        {"unknown table", field("Devices", "DisplayNameCustom", 't', value), true},
        {"unknown field", field("DeviceIdList", "DisplayName", 't', value), true},
        {"empty names", field("", "", 't', value), true},
        {"another kind", field("DeviceIdList", "Producerid", 't', value), true},
        {"number of one byte", field("DeviceIdList", "Producerid", 'n', value), true},
        {"address of one byte", field("DeviceIdList", "DeviceMAC", 'm', value), true},
        {"row past the table", field("general", "SARNSyncTimestamp", 't', std::string("\1\1\0x", 4)), true},
        {"text too long", field("DeviceIdList", "DeviceOS", 't', too_long), true},
        {"value past the end", field("DeviceIdList", "DeviceOS", 't', std::string("\0\2\0x", 4)), false},
        {"name past the end", "\377Device", false},
        {"count past the end", field("DeviceIdList", "DeviceOS", 't', ""), false},
    };
    for (const auto &c : cases) {
        const std::string log = log_of_restoring(sealed(last.substr(0, last.size() - 4) + c.fields + "seal"), before);
        EXPECT_EQ(name(), c.is_whole ? "last" : "before") << c.name << log;
        EXPECT_EQ(text("DeviceOS"), "") << c.name;
        lose_live_store();
    }
}

TEST_F(Saved, ACutOrAFailureAtAnyCallLeavesTheLastOrTheOneBefore) {
    int positions = 0;
    for (const bool kills : {true, false}) {
        bool has_fired = true;
        for (int call = 1; has_fired; ++call, ++positions) {
            make_two_copies();
            open();
            const int result = run_process([&] {
                testing::internal::CaptureStderr();  // its line is no call of the save
                faults::arm(call, kills);
                const int32_t failed = rename("new");
                return faults::disarm() ? 3 : failed;
            });
            has_fired = result != 0;
            EXPECT_TRUE(result == 0 || result == (kills ? KILLED : 3)) << call << ": " << result;
            lose_live_store();
            EXPECT_EQ(opening_log(), "") << call;
            EXPECT_TRUE(name() == "new" || (has_fired && name() == "last")) << call << name();
            EXPECT_TRUE(rename("next") == 0 && kora_save(handle) == 0) << call;
            lose_live_store();
            open();
            EXPECT_EQ(name(), "next") << call;
            close();
            for (const std::string &file : {path, saved, saved + ".1"}) unlink(file.c_str());
        }
    }
    EXPECT_GE(positions, 2 * 7) << "calls that change a file";
}

TEST_F(Saved, ADayOfStatesAndTenEditsIsTenSaves) {
#ifdef KORA_SANITIZED
    constexpr int MINUTES = 30;
#else
    constexpr int MINUTES = 24 * 60;
#endif
    constexpr int EDITS = 10;
    open();
    for (int32_t row = 0; row < sarn::ROW_COUNT; ++row) {
        ASSERT_EQ(kora_begin(handle, KORA_WRITING), 0);
        for (int i = 0; i < sarn::DEVICE_FIELD_COUNT; ++i) {
            const auto field = static_cast<Field>(i);
            EXPECT_EQ(write_any(handle, field, row, make_value(sarn::spec_of(field).type, 'x')), 0);
        }
        for (const char *field : {"DeviceHostname", "DeviceMacVendor", "DeviceModel", "DeviceBrand", "DeviceOS"}) {
            EXPECT_EQ(set("twenty characters or", field, row), 0);
        }
        ASSERT_EQ(kora_end(handle, 1), 0);
    }
    ASSERT_EQ(kora_save(handle), 0);
    faults::bytes_written = 0;
    int saves = 0;
    for (int minute = 0; minute < MINUTES; ++minute) {
        faults::seconds_later += 60;
        const ino_t before_it = inode();
        const char *state = minute % 2 == 0 ? "DOWN" : "UP";
        for (int32_t row = 0; row < sarn::ROW_COUNT; ++row) {
            EXPECT_EQ(kora_begin(handle, KORA_WRITING), 0);
            EXPECT_EQ(kora_set_enum(handle, "Sarnsignature", row, "Devicestate", state), 0);
            EXPECT_EQ(set(std::to_string(1'700'000'000 + minute * 60 + row), "Timestamp", row), 0);
            EXPECT_EQ(kora_end(handle, 1), 0);
        }
        EXPECT_EQ(inode(), before_it) << minute;
        if (minute % (MINUTES / EDITS) == 0) {
            EXPECT_EQ(set("edit " + std::to_string(minute), "DeviceTypeCustom", minute % sarn::ROW_COUNT), 0);
        }
        saves += inode() != before_it;
    }
    EXPECT_EQ(saves, EDITS);
    printf("256 devices, %d minutes, %d edits: %zu bytes in %d saves\n", MINUTES, EDITS, faults::bytes_written.load(),
           saves);
}

TEST_F(Saved, WithoutAPlaceForItTheStoreWorksAndSaysSoOnce) {
    const auto change = [&] { return kora_set_bool(handle, "FeatureCfg", 0, "ACLEnable", 1); };
    setenv("KORA_SAVE", (folder + "/none/none/saved").c_str(), 1);
    std::string log = log_of([&] {
        open();
        faults::seconds_later += 60;
        EXPECT_EQ(change(), 0);
        EXPECT_NE(kora_save(handle), 0);
    });
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 1) << log;
    lose_live_store();
    std::string said;
    use(folder + "/store~");
    const std::string linked = folder + "/link/store";
    std::filesystem::create_directory_symlink(".", folder + "/link");
    for (const std::string &taken : {path, path + "-lock", path + ".new", folder + "/store", linked, folder + "/"}) {
        setenv("KORA_SAVE", taken.c_str(), 1);
        EXPECT_NE(opening_log(), "") << taken;
        said += log_of([&] { EXPECT_NE(kora_save(handle), 0) << taken; });
        lose_live_store();
    }
    EXPECT_NE(said.find("names no file"), std::string::npos);
    EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
    setenv("KORA_SAVE", "", 1);
    open();
    EXPECT_EQ(change(), 0);
    EXPECT_NE(kora_save(handle), 0);
    lose_live_store();
    unsetenv("KORA_SAVE");
    open();
    EXPECT_NE(kora_save(handle), 0) << "the default copy is the default store's";
    EXPECT_NE(kora_save(nullptr), 0);
}

}  // namespace
