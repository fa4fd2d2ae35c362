#include <grp.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/syscall.h>

#include "platform/kora_fence.h"
#include "tests/platform/support.h"

namespace {

class Open : public StoreTest {
protected:
    static constexpr off_t STORE_SIZE = 8 << 20;
    // One at a time, since memory may be scarce.
    void use_new_folder(const std::string &name) {
        std::filesystem::remove_all(folder + "/own");
        use(folder + "/own/" + name);
    }
    void overwrite(size_t at, const std::string &bytes) {
        std::fstream(path).seekp(static_cast<long>(at)).write(bytes.data(), static_cast<long>(bytes.size()));
    }
    void spoil_value() { overwrite(content_of(path).find("kept"), "x"); }
    // Bits of what says whose store it is, wherever the file has it.
    std::function<void()> change_format(std::vector<size_t> places, bool is_checked) {
        return [=, this] {
            constexpr size_t SIZE = 52;
            std::string all = content_of(path);
            for (size_t at = all.find("KORAlive"); at < all.size(); at = all.find("KORAlive", at + 1)) {
                for (const size_t place : places) all[at + place] ^= 1;
                const uint32_t check = kora::checksum(kora::checksum(0, "\xff\0", 2), &all[at], SIZE);
                if (is_checked) memcpy(&all[at + SIZE], &check, sizeof check);
            }
            write_file(path, all);
        };
    }
    // In a process with mounts of its own; skips the test where that is not allowed.
    void run_apart(const std::function<void()> &body) {
        constexpr int NOT_ALLOWED = 77;
        const int result = run_process([&] {
            if (unshare(CLONE_NEWNS) != 0) return NOT_ALLOWED;
            EXPECT_EQ(mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr), 0);
            body();
            return HasFailure() ? 1 : 0;
        });
        if (result == NOT_ALLOWED) GTEST_SKIP() << "only who may mount can make a file system";
        EXPECT_EQ(result, 0);
    }
};

TEST_F(Open, HandlesAreCountedAndCheckedNotFollowed) {
    open();
    use(folder + "/other");
    EXPECT_NE(refusal().find("has " + folder + "/store.mdb open"), std::string::npos);
    use(folder + "/store.mdb");
    void *const closed = handle;
    void *const second = handle = kora_init_ex(nullptr);
    EXPECT_EQ(kora_destroy(closed), 0);
    EXPECT_EQ(set("by the second"), 0);
    for (void *wrong : {static_cast<void *>(nullptr), closed, static_cast<void *>(&path)}) {
        EXPECT_NE(kora_set_int(wrong, "DeviceIdList", 0, "Producerid", 1), 0) << wrong;
        EXPECT_NE(kora_destroy(wrong), 0) << wrong;
    }
    close();
    open();
    EXPECT_NE(kora_set_int(second, "DeviceIdList", 0, "Producerid", 1), 0);
    EXPECT_EQ(text(), "by the second");
}

TEST_F(Open, RightsAreTheGroupsWhateverTheUmask) {
    for (const mode_t mask : {0U, 077U}) {
        use_new_folder("store.mdb");
        EXPECT_EQ(run_process([&] { return umask(mask), kora_init_ex(nullptr) == nullptr; }), 0);
        for (const auto &[name, mode] : {std::pair{folder + "/own", 0750U}, {path + "-lock", 0660U}, {path, 0660U}})
            EXPECT_EQ(static_cast<unsigned>(std::filesystem::status(name).permissions()), mode) << name << mask;
    }
}

TEST_F(Open, FilesAreOfTheFoldersGroupWhoeverComesFirst) {
    if (geteuid() != 0) GTEST_SKIP() << "only root is in every group";
    ASSERT_EQ(chown(folder.c_str(), 0, 4321), 0);
    open();
    EXPECT_EQ(kora_save(handle), 0);
    for (const auto &file : std::filesystem::directory_iterator(folder)) {
        struct stat status = {};
        EXPECT_TRUE(stat(file.path().c_str(), &status) == 0 && status.st_gid == 4321) << file;
    }
}

TEST_F(Open, AFileWithASecondNameIsNeitherSharedNorWritten) {
    const std::string other = folder + "/somebody's";
    write_file(other, "secret");
    ASSERT_EQ(chmod(other.c_str(), 0600) + link(other.c_str(), (path + "-writer").c_str()), 0);
    open();
    EXPECT_EQ(set("a value"), 0);
    EXPECT_EQ(static_cast<unsigned>(std::filesystem::status(other).permissions()), 0600U);
    EXPECT_EQ(content_of(other), "secret");
}

// As a program that another thread is just starting has.
TEST_F(Open, CopiesOfItsDescriptorsInAChildDoNotKeepItOut) {
    open();
    const auto child = static_cast<pid_t>(syscall(SYS_clone, SIGCHLD, nullptr, nullptr, nullptr, nullptr));
    if (child < 0) perror("clone"), abort();  // as the number of a process, -1 is all of them
    while (child == 0) syscall(SYS_ppoll, nullptr, 0, nullptr, nullptr, 0);
    close();
    EXPECT_NE(handle = kora_init_ex(nullptr), nullptr);
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
}

TEST_F(Open, WhereNoRoomCanBeReservedTheFilesAreFilled) {
    faults::is_without_room = true;
    open();
    faults::is_without_room = false;
    struct stat status = {};
    EXPECT_TRUE(stat(path.c_str(), &status) == 0 && status.st_size == STORE_SIZE);
    EXPECT_GE(status.st_blocks * 512, STORE_SIZE) << "full when it is written";
    EXPECT_EQ(set("a value"), 0);
    close();
    open();
    EXPECT_EQ(text(), "a value");
}

TEST_F(Open, WhatTheProcessMayNotWriteIsRefusedAndDoesNotEndIt) {
    const auto may_write = [](rlim_t size) {
        const rlimit limit = {size, size};
        return setrlimit(RLIMIT_FSIZE, &limit) == 0;
    };
    const auto make = [&] { return !may_write(STORE_SIZE - 1) || refusal().find("too large") == std::string::npos; };
    EXPECT_EQ(run_process(make), 0);
    EXPECT_FALSE(std::filesystem::exists(path + ".new"));
    open();
    const std::string log = folder + "/log", full = "ten bytes.";
    write_file(log, full);
    const bool is_mapped = !kora::IS_UNDER_THREAD_SANITIZER;  // there writes go through the file
    const auto fail_to_save = [&] {
        return !freopen(log.c_str(), "a", stderr) || !may_write(full.size()) || kora_save(handle) == 0 ||
               (is_mapped && set("a value") != 0);
    };
    EXPECT_EQ(run_process(fail_to_save), 0);
    EXPECT_EQ(content_of(log), full);
    EXPECT_EQ(text(), is_mapped ? "a value" : "");
}

TEST_F(Open, WhatIsNotToBeTrustedIsRefusedOrSetAsideAndRestored) {
    // As a second copy of the library in this process would.
    const auto keep_locked = [&] {
        struct flock own = {F_WRLCK, SEEK_SET, getpid(), 1, 0};
        ASSERT_EQ(fcntl(::open(path.c_str(), O_RDWR), F_OFD_SETLK, &own), 0);
    };
    const std::string foreign = "not a store of this system", damaged = "damaged; set aside as",
                      earlier = "from before the last restart; set aside as", far = "\xff\xff\xff";
    const std::tuple<const char *, std::string, std::function<void()>> cases[] = {
        {"no folder", "its folder cannot be made", [&] { use(folder + "/none/none/store"); }},
        {"folder", "names a folder", [&] { use(folder + "/own/"); }},
        {"long name", "name too long", [&] { use(folder + "/" + std::string(250, 'n')); }},
        {"letters of the right size", foreign, [&] { write_file(path, std::string(STORE_SIZE, 'x')); }},
        {"a byte too long", "cut short", [&] { ASSERT_EQ(truncate(path.c_str(), STORE_SIZE + 1), 0); }},
        {"a page of it", "cut short", [&] { ASSERT_EQ(truncate(path.c_str(), 4096), 0); }},
        {"a page too short", "cut short", [&] { ASSERT_EQ(truncate(path.c_str(), STORE_SIZE - 4096), 0); }},
        {"link", "a link", [&] { ASSERT_EQ(unlink(path.c_str()) + symlink(saved.c_str(), path.c_str()), 0); }},
        {"foreign format", foreign, change_format({0}, true)},
        {"other version", "of another version", change_format({8}, true)},
        {"locks", "its lock file", [&] { unlink((path + "-lock").c_str()), mkdir((path + "-lock").c_str(), 0700); }},
        {"locked", "another copy of this library", keep_locked},
        {"last page past the end", damaged, [&] { overwrite(136, far), overwrite(4096 + 136, far); }},
        {"a letter of a value", damaged, [&] { spoil_value(); }},
        {"a bit of the mark of every store", damaged, change_format({0}, false)},
        {"a bit of the version", damaged, change_format({8}, false)},
        {"an earlier start of the machine", earlier, change_format({51}, true)},
        {"of another version as well", earlier, change_format({8, 12, 51}, true)},
    };
    for (const auto &[what, reason, spoil] : cases) {
        SCOPED_TRACE(what);
        use_new_folder(what);
        open();
        ASSERT_EQ(set("kept") + kora_save(handle), 0);
        close();
        spoil();
        const std::string spoiled = content_of(path);
        const bool is_set_aside = reason.find("set aside") != std::string::npos;
        const std::string log = log_of([&] { handle = kora_init_ex(nullptr); });
        EXPECT_TRUE(log.find(reason) != std::string::npos && lines_of(log) == 1) << log;
        EXPECT_EQ(text(), is_set_aside ? "kept" : "unread");
        EXPECT_TRUE(content_of(path + (is_set_aside ? "~" : "")) == spoiled);
        kora_destroy(handle);
    }
}

TEST_F(Open, ARelativeNameIsOfTheFolderOfTheOpening) {
    const auto set_elsewhere = [&] {
        use("store.mdb");
        if (chdir(folder.c_str()) == 0) handle = kora_init_ex(nullptr);
        return chdir("/") != 0 || set("by a relative name") != 0;
    };
    EXPECT_EQ(run_process(set_elsewhere), 0);
    EXPECT_NE(content_of(folder + "/store.mdb").find("by a relative name"), std::string::npos);
}

TEST_F(Open, WhatIsRemovedJustBeforeLmdbOpensItIsMadeAnew) {
    for (const std::string removed : {"", "-lock", ".new"}) {
        use_new_folder("store.mdb");
        open();
        ASSERT_EQ(set("kept") + kora_save(handle), 0);
        close();
        if (removed == ".new") unlink(path.c_str());
        faults::removed_name = path + removed;
        EXPECT_NE(refusal().find("removed"), std::string::npos) << removed;
        open();
        EXPECT_EQ(text(), "kept") << removed;
        EXPECT_EQ(run_process([] { return kora_init_ex(nullptr) == nullptr; }), 0) << removed;
        close();
    }
}

TEST_F(Open, AFileThatIsRemovedOrReplacedIsNoticed) {
    const auto log_of_looking = [&](bool reads_group) {
        usleep(20'000);  // the library looks again when some milliseconds have passed
        return log_of([&] {
            if (reads_group ? kora_begin(handle, KORA_READING) == 0 : changes() == 0) (void)kora_end(handle, 0);
        });
    };
    open();
    ASSERT_EQ(set("saved") + kora_save(handle) + unlink((path + "-lock").c_str()), 0);
    EXPECT_EQ(run_process([&] { return refusal().find("its lock file is gone") == std::string::npos; }), 0);
    for (const bool is_replaced : {false, true}) {
        const uint64_t before = changes();
        ASSERT_EQ(set("lost") + unlink(path.c_str()), 0);
        ASSERT_TRUE(!is_replaced || run_process([&] { return kora_init_ex(nullptr) == nullptr; }) == 0);
        const std::string log = log_of_looking(!is_replaced);
        EXPECT_NE(log.find("removed or replaced while it was open; opened again\n"), std::string::npos) << log;
        EXPECT_TRUE(text() == "saved" && changes() != before) << text();
    }
    const auto move_number = [&](int32_t row) {
        return kora_set_enum(handle, "Sarnsignature", row, "Devicestate", "unknown");
    };
    std::filesystem::copy_file(path, folder + "/older");
    ASSERT_EQ(move_number(1), 0);
    const uint64_t newer = changes();
    std::filesystem::rename(folder + "/older", path);
    EXPECT_EQ(run_process([&] { return (handle = kora_init_ex(nullptr)) == nullptr || move_number(2) != 0; }), 0);
    EXPECT_NE(log_of_looking(false).find("opened again"), std::string::npos);
    EXPECT_NE(changes(), newer) << "of an older copy that has gone on";
    for (const int32_t mode : {KORA_READING, KORA_WRITING}) {
        ASSERT_EQ(kora_begin(handle, mode) + unlink(path.c_str()), 0);
        alarm(60);  // what hangs is a failure
        std::thread([&] {
            for (int look = 0; look < 5; ++look, usleep(10'000)) (void)changes();
            EXPECT_EQ(text(), "saved") << "reads wait for no group";
        }).join();
        alarm(0);
        EXPECT_EQ(kora_end(handle, 1), 0);
        EXPECT_NE(log_of_looking(false).find("opened again"), std::string::npos) << mode;
    }
    ASSERT_EQ(unlink(path.c_str()) + mkdir(path.c_str(), 0700), 0);
    const std::string log = log_of_looking(true);
    EXPECT_TRUE(log.find("while it was open\n") != log.npos && log.find("cannot be opened") != log.npos) << log;
    EXPECT_TRUE(set("nowhere") != 0 && rmdir(path.c_str()) == 0 && set("works again") == 0);
}

TEST_F(Open, NoFileOfTheLibraryBecomesTheHostsOutputOrIsInherited) {
    const auto open_without_any = [&] {
        for (int fd = 0; fd < 100; ++fd) ::close(fd);
        handle = kora_init_ex(nullptr);
        bool is_right = set("x") + kora_save(handle) == 0;
        for (int fd = 0; fd < 100; ++fd) is_right &= fd < 3 ? fcntl(fd, F_GETFD) < 0 : fcntl(fd, F_GETFD) != 0;
        return !is_right;
    };
    EXPECT_EQ(run_process(open_without_any), 0);
}

// As kernels of 64-bit Arm have them.
TEST_F(Open, PagesOfEverySizeHoldAFullList) {
    for (const long size : {4096, 16384, 65536}) {
        faults::page_size = size;
        open();
        for (int32_t row = 0; row < sarn::ROW_COUNT; ++row) {
            for (const char *field : {"DeviceUUID", "DeviceModel", "DeviceOS", "DeviceBrand"})
                ASSERT_EQ(set("row " + std::to_string(row), field, row), 0) << size;
        }
        close();
        open();
        EXPECT_EQ(text("DeviceBrand", 255), "row 255") << size;
        lose_live_store();
    }
    faults::page_size = 0;
}

TEST_F(Open, AnotherUserIsRefused) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can become another user";
    ASSERT_EQ(run_process([&] { return kora_init_ex(nullptr) == nullptr; }), 0);
    ASSERT_EQ(chmod(folder.c_str(), 01777), 0);
    const auto open_as_another = [&] {
        return setgroups(0, nullptr) != 0 || setgid(4321) != 0 || setuid(4321) != 0 ||
               refusal().find("Permission denied") == std::string::npos;
    };
    EXPECT_EQ(run_process(open_as_another), 0);
    ASSERT_EQ(chown(path.c_str(), 4321, 4321), 0);
    EXPECT_NE(refusal().find("belongs to user 4321"), std::string::npos);
}

TEST_F(Open, TheDefaultStoreHasTheDefaultCopyHoweverItIsSpelled) {
    run_apart([&] {
        for (const char *name : {"/run", "/var/lib"}) EXPECT_EQ(mount("none", name, "tmpfs", 0, nullptr), 0);
        std::filesystem::create_directory_symlink("/run", folder + "/run");
        use(folder + "/run/kora/store.mdb");
        unsetenv("KORA_SAVE");
        open();
        EXPECT_EQ(kora_save(handle), 0);
    });
}

TEST_F(Open, ACopyOutOfReachIsNotTakenForNone) {
    open();
    EXPECT_EQ(set("kept") + kora_save(handle), 0);
    lose_live_store();
    faults::read_error = EMFILE;
    EXPECT_NE(refusal().find("store.mdb.saved: cannot be read: " + std::string(strerror(EMFILE))), std::string::npos);
    faults::read_error = EIO;
    open();
    faults::read_error = 0;
    EXPECT_TRUE(std::filesystem::exists(saved + "~")) << "what the medium has lost refuses nothing";
}

TEST_F(Open, AFullFileSystemIsFoundHere) {
    run_apart([&] {
        for (const char *size : {"size=8k", "size=4m", "size=8m"}) {
            EXPECT_EQ(mount("none", folder.c_str(), "tmpfs", 0, size), 0);
            EXPECT_NE(refusal().find("No space left"), std::string::npos) << size;
            EXPECT_FALSE(std::filesystem::exists(path + ".new")) << size;
        }
        EXPECT_EQ(mount("none", folder.c_str(), "tmpfs", 0, "size=12m"), 0);
        open();
        EXPECT_EQ(set("kept") + kora_save(handle), 0);
        close();
        // Enough for the beginning of the new one.
        write_file(folder + "/filler", std::string(std::filesystem::space(folder).available - (64 << 10), 'x'));
        spoil_value();
        open();
        EXPECT_EQ(text(), "kept") << "no room beside the one that was set aside";
        close();
        const int fd = ::open(path.c_str(), O_RDWR), mode = FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE;
        EXPECT_EQ(fallocate(fd, mode, STORE_SIZE / 2, STORE_SIZE / 2) + ::close(fd), 0);
        write_file(folder + "/filler", std::string(std::filesystem::space(folder).available, 'x'));
        EXPECT_NE(refusal().find("no room can be reserved"), std::string::npos) << "with holes";
    });
}

}  // namespace
