#include <dlfcn.h>
#include <grp.h>

#include <functional>
#include <random>
#include <thread>

#include "tests/platform/support.h"
#include "tests/support/library_copy.h"

namespace {

class Open : public StoreTest {
protected:
    void write_file(const std::string &text) { ::write_file(path, text); }
    std::string content() { return content_of(path); }
    mode_t mode_of(const std::string &name) {
        struct stat status = {};
        EXPECT_EQ(stat(name.c_str(), &status), 0) << name;
        return status.st_mode & 07777;
    }
    void put(const std::string &key, const std::string &value, bool is_checked = false) {
        put_raw(path, key, value, is_checked);
    }
    // Of the two pages that LMDB finds all others by.
    void damage_meta_pages(int at, const std::string &bytes) {
        std::fstream file(path);
        for (const int page : {0, 4096})
            file.seekp(page + 16 + at).write(bytes.data(), static_cast<long>(bytes.size()));
    }
    // Memory may be scarce.
    void remove_files() {
        for (const auto &file : std::filesystem::directory_iterator(folder)) std::filesystem::remove_all(file);
    }
    void make_store() {
        open();
        ASSERT_EQ(set("kept"), 0);
        ASSERT_EQ(kora_save(handle), 0);
        close();
    }
};

TEST_F(Open, HandlesAreCountedAndCheckedNotFollowed) {
    open();
    void *second = kora_init_ex(nullptr);
    ASSERT_NE(second, nullptr);
    EXPECT_NE(second, handle);
    void *const closed = handle;
    EXPECT_EQ(kora_destroy(closed), 0);
    handle = second;
    EXPECT_EQ(set("by the second"), 0);

    uint32_t number = 0;
    char six[6] = {};
    for (void *wrong : {static_cast<void *>(nullptr), closed, static_cast<void *>(six), reinterpret_cast<void *>(-1)}) {
        EXPECT_NE(kora_set_int(wrong, "DeviceIdList", 0, "Producerid", 1), 0) << wrong;
        EXPECT_NE(kora_get_uint(wrong, "DeviceIdList", 0, "Producerid", &number), 0) << wrong;
        EXPECT_NE(kora_destroy(wrong), 0) << wrong;
    }
    EXPECT_EQ(kora_destroy(second), 0);
    open();
    EXPECT_NE(kora_get_uint(second, "DeviceIdList", 0, "Producerid", &number), 0);
    EXPECT_EQ(text(), "by the second");
}

TEST_F(Open, RightsAreTheGroupsWhateverTheUmask) {
    for (const mode_t mask : {0U, 077U}) {
        use(folder + "/" + std::to_string(mask) + "/store.mdb");
        EXPECT_EQ(run_process([&] { return umask(mask), kora_init_ex(nullptr) == nullptr; }), 0);
        EXPECT_EQ(mode_of(std::filesystem::path(path).parent_path()), 0750U) << mask;
        EXPECT_EQ(mode_of(path), 0660U) << mask;
        EXPECT_EQ(mode_of(path + "-lock"), 0660U) << mask;
    }
    struct stat status = {};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_GE(status.st_blocks * 512, STORE_SIZE) << "not reserved whole";
}

TEST_F(Open, WhatIsNoStoreIsRefusedAndLeftAlone) {
    const std::string format("\xff\0", 2);
    const auto write = [&](const std::string &all) { return [&, all] { write_file(all); }; };
    const auto resize = [&](off_t size) {
        return [&, size] {
            make_store();
            ASSERT_EQ(truncate(path.c_str(), size), 0);
        };
    };
    const auto make_link = [&] {
        make_store();
        std::filesystem::rename(path, path + "2");
        std::filesystem::create_symlink(path + "2", path);
    };
    const std::string cut = "cut short", foreign = "not a store of this system";
    const struct {
        const char *name;
        std::string reason;
        std::function<void()> prepare;
    } cases[] = {
        {"empty file", "0 bytes", write("")},
        {"text", "cut short, or not a store", write("letters\n")},
        {"letters of the right size", foreign, write(std::string(STORE_SIZE, 'x'))},
        {"zeros of the right size", foreign, write(std::string(STORE_SIZE, '\0'))},
        {"one byte long", cut, resize(STORE_SIZE + 1)},
        {"foreign entries", foreign, [&] { put("a", "b"); }},
        {"foreign format", foreign, [&] { put(format, "KORAdead\1\0\0\0abcd"); }},
        {"other version", "of another version", [&] { put(format, "KORAlive\7" + std::string(43, '\0'), true); }},
        {"link", "a link", make_link},
        {"pipe", "not a file", [&] { ASSERT_EQ(mkfifo(path.c_str(), 0600), 0); }},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        use(folder + "/" + c.name);
        c.prepare();
        const bool is_readable = std::filesystem::is_regular_file(path);
        const std::string before = is_readable ? content() : "";
        EXPECT_NE(refusal().find(c.reason), std::string::npos);
        EXPECT_TRUE(!is_readable || content() == before);
        remove_files();
    }
}

TEST_F(Open, WhereNoStoreCanLieIsRefused) {
    ASSERT_EQ(mkdir(path.c_str(), 0700), 0);
    for (const std::string &name :
         {path, folder + "/", folder + "/none/none/store", folder + "/" + std::string(250, 'n'),
          "/" + std::string(PATH_MAX, 'p'), std::string("/proc/store")}) {
        use(name);
        EXPECT_NE(refusal(), "") << name;
    }
}

TEST_F(Open, OneProcessHasOneStoreThatItsProgramsDoNotInherit) {
    open();
    int seen = 0;
    for (const auto &entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code ignored;
        if (std::filesystem::read_symlink(entry, ignored).string().find(path) != 0) continue;
        ++seen;
        EXPECT_EQ(fcntl(std::stoi(entry.path().filename()), F_GETFD), FD_CLOEXEC) << entry;
    }
    EXPECT_GE(seen, 3);
    use(folder + "/other");
    EXPECT_NE(refusal().find("has " + folder + "/store.mdb open"), std::string::npos);
    EXPECT_EQ(set("still"), 0);
}

TEST_F(Open, WhatIsNoLongerToBeTrustedIsSetAsideAndRestored) {
    const std::string mac_key = {static_cast<char>(sarn::Field::Sarnsignature_DeviceMAC), 0};
    const auto change_format = [&](auto... places) {
        std::string format = content().substr(content().find("KORAlive"), 52);
        ((format[places] = format[places] == '0' ? '1' : '0'), ...);
        put({'\xff', 0}, format, true);
    };
    const auto flip_in_format = [&](size_t at) {
        std::string all = content();
        for (size_t place = all.find("KORAlive"); place < all.size(); place = all.find("KORAlive", place + 1))
            all[place + at] ^= 1;
        write_file(all);
    };
    const struct {
        const char *name, *reason;
        std::function<void()> spoil;
    } cases[] = {
        {"last page past the end", "damaged",
         [&] {
             damage_meta_pages(24 + 2 * 48, {"\xff\xff\xff\0\0\0\0\0", 8});
         }},
        {"letters in both meta pages", "damaged", [&] { damage_meta_pages(0, "letters"); }},
        {"a value without its check", "damaged", [&] { put(mac_key, "six by"); }},
        {"a bit of the mark of every store", "damaged", [&] { flip_in_format(0); }},
        {"a bit of the version", "damaged", [&] { flip_in_format(8); }},
        {"an earlier start of the machine", "from before the last restart", [&] { change_format(51); }},
        {"of another version as well", "from before the last restart", [&] { change_format(8, 12, 51); }},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        use(folder + "/" + c.name);
        make_store();
        c.spoil();
        const std::string spoiled = content();
        const std::string log = opening_log();
        EXPECT_NE(log.find(std::string(c.reason) + "; set aside as"), std::string::npos) << log;
        EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 1) << log;
        EXPECT_EQ(text(), "kept") << "not restored";
        EXPECT_TRUE(content_of(path + "~") == spoiled);
        close();
        remove_files();
    }
}

TEST_F(Open, LettersAnywhereInTheFileAreFoundOrHarmless) {
    open();
    for (int32_t row = 0; row < sarn::ROW_COUNT; ++row)
        ASSERT_EQ(set("row " + std::to_string(row), "DeviceUUID", row), 0);
    ASSERT_EQ(kora_save(handle), 0);
    lose_live_store();  // the new one has no free pages
    open();
    close();
    const std::string whole = content();
    const size_t in_use = whole.find_last_not_of('\0') + 1;
    std::mt19937 random(7);
    int found = 0;
    for (int i = 0; i < 150; ++i) {
        const size_t at = random() % in_use;
        const size_t length = i % 2 == 0 ? 1 : 1 + random() % 200;
        std::string spoiled = whole;
        for (size_t n = at; n < std::min(at + length, whole.size()); ++n)
            spoiled[n] = static_cast<char>('a' + random() % 26);
        write_file(spoiled);
        const std::string log = log_of([&] { handle = kora_init_ex(nullptr); });
        EXPECT_LE(std::count(log.begin(), log.end(), '\n'), 1) << log;
        found += !log.empty();
        const bool is_known = length == 1 || spoiled.find("KORAlive") != std::string::npos;
        EXPECT_TRUE(handle != nullptr || !is_known) << "letters at " << at << ": " << log;
        for (int32_t row = 0; handle != nullptr && row < sarn::ROW_COUNT; ++row) {
            ASSERT_EQ(text("DeviceUUID", row), "row " + std::to_string(row)) << "letters at " << at << ": " << length;
        }
        kora_destroy(handle);
    }
    EXPECT_GT(found, 20);
}

// As kernels of 64-bit Arm have them.
TEST_F(Open, PagesOfEverySizeHoldAFullList) {
    for (const long size : {4096, 16384, 65536}) {
        faults::page_size = size;
        EXPECT_EQ(opening_log(), "") << size;
        for (int32_t row = 0; row < sarn::ROW_COUNT; ++row) {
            for (const char *field : {"DeviceUUID", "DeviceModel", "DeviceOS", "DeviceBrand"})
                ASSERT_EQ(set("row " + std::to_string(row), field, row), 0) << size;
        }
        close();
        EXPECT_EQ(opening_log(), "") << size;
        EXPECT_EQ(text("DeviceBrand", 255), "row 255");
        lose_live_store();
    }
    faults::page_size = 0;
}

TEST_F(Open, AFileThatIsRemovedOrReplacedIsNoticed) {
    // The library looks again when some milliseconds have passed.
    const auto log_until_changed = [&](bool reads_group) {
        const std::string before = text();
        return log_of([&] {
            for (int i = 0; i < 10'000'000 && text() == before; ++i) {
                if (reads_group ? kora_begin(handle, KORA_READING) == 0 : changes() == 0) (void)kora_end(handle, 0);
            }
        });
    };
    open();
    ASSERT_TRUE(set("saved") == 0 && kora_save(handle) == 0);
    for (const bool is_replaced : {false, true}) {
        const uint64_t before = changes();
        ASSERT_EQ(set("lost"), 0);
        ASSERT_EQ(unlink(path.c_str()), 0);
        ASSERT_TRUE(!is_replaced || run_process([&] { return kora_init_ex(nullptr) == nullptr; }) == 0);
        const std::string log = log_until_changed(!is_replaced);
        EXPECT_NE(log.find("removed or replaced while it was open"), std::string::npos) << log;
        EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 1) << log;
        EXPECT_EQ(text(), "saved");
        EXPECT_NE(changes(), before);
        EXPECT_TRUE(set("again") == 0 && set("saved") == 0);
    }
    ASSERT_EQ(unlink(path.c_str()), 0);
    ASSERT_EQ(kora_begin(handle, KORA_WRITING), 0);
    alarm(60);  // what hangs is a failure
    std::thread([&] {
        for (int look = 0; look < 5; ++look, usleep(10'000)) (void)changes();
        EXPECT_EQ(text(), "saved") << "reads wait for no writer";
    }).join();
    alarm(0);
    EXPECT_EQ(kora_end(handle, 1), 0);
    ASSERT_EQ(mkdir(path.c_str(), 0700), 0);
    const std::string log = log_until_changed(true);
    EXPECT_NE(log.find("cannot be opened"), std::string::npos) << log;
    EXPECT_NE(log.find("while it was open\n"), std::string::npos) << log;
    EXPECT_NE(set("nowhere"), 0);
    ASSERT_EQ(rmdir(path.c_str()), 0);
    EXPECT_EQ(set("works again"), 0);
}

TEST_F(Open, NoFileOfTheLibraryBecomesTheHostsOutput) {
    EXPECT_EQ(run_process([&] {
                  for (const int fd : {0, 1, 2}) ::close(fd);
                  handle = kora_init_ex(nullptr);
                  const bool is_free = fcntl(0, F_GETFD) < 0 && fcntl(1, F_GETFD) < 0 && fcntl(2, F_GETFD) < 0;
                  return handle != nullptr && is_free && set("x") == 0 && kora_save(handle) == 0 ? 0 : 1;
              }),
              0);
}

TEST_F(Open, AnotherUserIsRefused) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can become another user";
    make_store();
    ASSERT_EQ(chmod(folder.c_str(), 0755), 0);
    const auto open_as_other = [&] {
        return run_process([&] {
            if (setgroups(0, nullptr) != 0 || setgid(4321) != 0 || setuid(4321) != 0) return 2;
            return refusal().find("Permission denied") != std::string::npos ? 0 : 1;
        });
    };
    EXPECT_EQ(open_as_other(), 0) << "file";
    ASSERT_EQ(chmod(folder.c_str(), 0750), 0);
    EXPECT_EQ(open_as_other(), 0) << "folder";
    ASSERT_EQ(chmod(folder.c_str(), 01777), 0);
    ASSERT_EQ(chown(path.c_str(), 4321, 4321), 0);
    EXPECT_NE(refusal().find("belongs to user 4321"), std::string::npos);
}

TEST_F(Open, ALockFileThatOthersUseIsNotReplaced) {
    open();
    if (geteuid() == 0) {
        ASSERT_EQ(chmod(folder.c_str(), 01777) + chown((path + "-lock").c_str(), 4321, 4321), 0);
        EXPECT_EQ(run_process([&] { return refusal().find("its lock file") != std::string::npos ? 0 : 1; }), 0);
    }
    ASSERT_EQ(unlink((path + "-lock").c_str()), 0);
    EXPECT_EQ(run_process([&] { return refusal().find("its lock file is gone") != std::string::npos ? 0 : 1; }), 0);
    EXPECT_EQ(kora_destroy(handle), 0);
    ASSERT_EQ(mkdir((path + "-lock").c_str(), 0700), 0);
    EXPECT_NE(refusal().find("lock file"), std::string::npos);
    ASSERT_EQ(rmdir((path + "-lock").c_str()), 0);
    std::ofstream(path + "-lock") << "letters";
    open();
}

TEST_F(Open, ASecondCopyOfTheLibraryIsRefused) {
    const LibraryCopy copy(KORA_LIBRARY);
    void *library = dlopen(copy.name.c_str(), RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    const auto open_copy = reinterpret_cast<decltype(&kora_init_ex)>(dlsym(library, "kora_init_ex"));
    ASSERT_NE(open_copy, &kora_init_ex);
    open();
    const std::string log = log_of([&] { EXPECT_EQ(open_copy(nullptr), nullptr); });
    EXPECT_NE(log.find("another copy"), std::string::npos) << log;
    EXPECT_EQ(set("unharmed"), 0);
    dlclose(library);
}

}  // namespace
