// A store of its own for each test, in memory; other processes; a look at the file past the library.
#ifndef TESTS_PLATFORM_SUPPORT_H
#define TESTS_PLATFORM_SUPPORT_H

#include <fcntl.h>
#include <gtest/gtest.h>
#include <lmdb.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "platform/kora.h"

inline constexpr off_t STORE_SIZE = 8 << 20;
inline constexpr int KILLED = -SIGKILL;

class StoreTest : public testing::Test {
protected:
    void SetUp() override {
        char name[] = "/dev/shm/kora-test-XXXXXX";
        ASSERT_NE(mkdtemp(name), nullptr);
        folder = name;
        use(folder + "/store.mdb");
    }
    void TearDown() override {
        kora_destroy(handle);
        std::filesystem::remove_all(folder);
    }
    void use(const std::string &name) {
        path = name;
        setenv("KORA_STORE", path.c_str(), 1);
    }
    void open() { ASSERT_NE(handle = kora_init_ex(nullptr), nullptr); }

    // What opening says when it must be refused, with one line in the log.
    std::string refusal() {
        testing::internal::CaptureStderr();
        void *opened = kora_init_ex(nullptr);
        const std::string log = testing::internal::GetCapturedStderr();
        EXPECT_EQ(opened, nullptr);
        EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 1) << log;
        kora_destroy(opened);
        return log;
    }
    std::string text(const char *field = "DeviceHostname", int32_t row = 0) {
        char buffer[KORA_TEXT_MAX + 1] = "unread";
        kora_get_ascii(handle, "DeviceIdList", row, field, buffer, sizeof buffer);
        return buffer;
    }
    int32_t set(const std::string &value, const char *field = "DeviceHostname", int32_t row = 0) {
        return kora_set_ascii(handle, "DeviceIdList", row, field, value.c_str());
    }

    std::string folder, path;
    void *handle = nullptr;
};

// For another process to say that it got where the test wants it, and to wait there.
struct Gate {
    Gate() { EXPECT_EQ(pipe(ends), 0); }
    ~Gate() {
        for (const int end : ends) close(end);
    }
    void open() { EXPECT_EQ(write(ends[1], "x", 1), 1); }
    void wait() {
        char byte;
        EXPECT_EQ(read(ends[0], &byte, 1), 1);
    }
    int ends[2];
};

template <class Body>
pid_t start_process(Body body) {
    const pid_t pid = fork();
    if (pid == 0) _exit(body());
    return pid;
}

inline int end_of(pid_t pid) {
    int status = 0;
    EXPECT_EQ(waitpid(pid, &status, 0), pid);
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

template <class Body>
int run_process(Body body) {
    return end_of(start_process(body));
}

// Without LMDB's lock file, so that it does not disturb the library in the same process.
inline MDB_env *open_raw(const std::string &path, unsigned flags) {
    MDB_env *env = nullptr;
    if (mdb_env_create(&env) != 0 || mdb_env_set_mapsize(env, STORE_SIZE) != 0) return nullptr;
    return mdb_env_open(env, path.c_str(), MDB_NOSUBDIR | flags, 0600) == 0 ? env : nullptr;
}

inline size_t last_transaction(const std::string &path) {
    MDB_envinfo info = {};
    MDB_env *env = open_raw(path, MDB_NOLOCK | MDB_RDONLY);
    EXPECT_NE(env, nullptr);
    mdb_env_info(env, &info);
    mdb_env_close(env);
    return info.me_last_txnid;
}

#endif
