// Stores and copies in places that have no room, or are reached in other ways; most on file systems of the test's own.
#include <sys/mount.h>

#include "tests/platform/support.h"

namespace {

using Place = StoreTest;

TEST_F(Place, TheDefaultStoreHasTheDefaultCopyHoweverItIsSpelled) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can make a file system";
    const int result = run_process([&] {
        if (const int error = have_own_mounts()) return error;
        for (const char *empty : {"/run", "/var/lib"}) {
            if (mount("none", empty, "tmpfs", 0, nullptr) != 0) return 3;
        }
        std::filesystem::create_directory_symlink("/run", folder + "/run");
        use(folder + "/run/kora/store.mdb");
        unsetenv("KORA_SAVE");
        open();
        return kora_save(handle);
    });
    if (result == NOT_ALLOWED) GTEST_SKIP() << "only who may mount can make a file system";
    EXPECT_EQ(result, 0);
}

TEST_F(Place, ACopyOutOfReachIsNotTakenForNone) {
    open();
    EXPECT_EQ(set("kept") + kora_save(handle), 0);
    lose_live_store();
    faults::read_error = EMFILE;
    EXPECT_NE(refusal().find("store.mdb.saved: cannot be read: Too many open files"), std::string::npos);
    faults::read_error = 0;
    open();
    EXPECT_EQ(text(), "kept");
    lose_live_store();
    faults::read_error = EIO;
    open();
    faults::read_error = 0;
    EXPECT_TRUE(std::filesystem::exists(saved + "~")) << "what the medium has lost refuses nothing";
}

TEST_F(Place, AFullFileSystemIsFoundHere) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can make a file system";
    const int result = run_process([&] {
        if (const int error = have_own_mounts()) return error;
        for (const char *size : {"size=8k", "size=4m", "size=8m"}) {
            if (mount("none", folder.c_str(), "tmpfs", 0, size) != 0) return 3;
            EXPECT_NE(refusal().find("No space left"), std::string::npos) << size;
            EXPECT_FALSE(std::filesystem::exists(path + ".new")) << size;
        }
        if (mount("none", folder.c_str(), "tmpfs", 0, "size=12m") != 0) return 4;
        open();
        for (int32_t row = 0; row < sarn::ROW_COUNT; ++row) EXPECT_EQ(set(std::string(200, 'x'), "DeviceOS", row), 0);
        EXPECT_EQ(set("kept") + kora_save(handle), 0);
        close();
        // Enough for the beginning of the new one.
        write_file(folder + "/filler", std::string(std::filesystem::space(folder).available - (64 << 10), 'x'));
        put_raw(path, {static_cast<char>(sarn::Field::Sarnsignature_DeviceMAC), 0}, "six by", false);
        open();
        EXPECT_EQ(text(), "kept") << "no room beside the one that was set aside";
        return HasFailure() ? 1 : 0;
    });
    if (result == NOT_ALLOWED) GTEST_SKIP() << "only who may mount can make a file system";
    EXPECT_EQ(result, 0);
}

}  // namespace
