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
#include <atomic>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>

#include "core/schema.h"
#include "platform/kora.h"
#include "platform/kora_checksum.h"
#include "tests/support/any_value.h"
#include "tests/support/process.h"
#include "tests/support/store_folder.h"

inline constexpr off_t STORE_SIZE = 8 << 20;

// The library's own calls of the system go through functions of this program (support.cpp): the clocks of this
// process are later than they are, its pages larger, and the n-th call that changes a file kills the process or fails.
namespace faults {
inline long page_size = 0;  // 0: the machine's own
inline std::atomic<int64_t> seconds_later{0};
inline std::atomic<int> calls_until{0};  // 0: none
inline std::atomic<bool> is_killing{false};
inline int read_error = 0;  // of opening a file to read it; 0: none
inline std::atomic<size_t> bytes_written{0};
inline std::string *trace = nullptr;  // one letter for each call: open, chmod, write, sync, move
// What happens just before the next call with this letter; d: a folder is entered.
inline char meanwhile_at = '\0';
inline std::function<void()> meanwhile;
inline void arm(int call, bool kills) {
    is_killing = kills;
    calls_until = call;
}
// Whether the fault that was armed has happened.
inline bool disarm() { return calls_until.exchange(0) < 0; }
}  // namespace faults

inline std::string content_of(const std::string &name) {
    std::ostringstream all;
    all << std::ifstream(name).rdbuf();
    return all.str();
}
inline void write_file(const std::string &name, const std::string &content) { std::ofstream(name) << content; }

// What a child answers where it may not mount, for the test to be skipped.
inline constexpr int NOT_ALLOWED = 77;
// Mounts that only this process sees: 0, NOT_ALLOWED, or another number.
int have_own_mounts();

class StoreTest : public testing::Test {
protected:
    void SetUp() override {
        folder = make_store_folder();
        use(folder + "/store.mdb");
    }
    void TearDown() override {
        kora_destroy(handle);
        std::filesystem::remove_all(folder);
    }
    void use(const std::string &name) {
        path = name;
        setenv("KORA_STORE", path.c_str(), 1);
        setenv("KORA_SAVE", (saved = path + ".saved").c_str(), 1);
    }
    void open() { ASSERT_NE(handle = kora_init_ex(nullptr), nullptr); }
    void close() { ASSERT_EQ(kora_destroy(handle), 0); }
    // As a restart of the machine does.
    void lose_live_store() {
        close();
        ASSERT_EQ(unlink(path.c_str()), 0);
    }
    std::string log_of(auto body) {
        testing::internal::CaptureStderr();
        body();
        return testing::internal::GetCapturedStderr();
    }
    std::string opening_log() {
        return log_of([&] { open(); });
    }
    uint64_t changes() {
        uint64_t number = 0;
        EXPECT_EQ(kora_changes(handle, &number), 0);
        return number;
    }

    // What opening says when it must be refused, with one line in the log.
    std::string refusal() {
        void *opened = nullptr;
        const std::string log = log_of([&] { opened = kora_init_ex(nullptr); });
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

    std::string folder, path, saved;
    void *handle = nullptr;
};

// For another process to say that it got where the test wants it, and to wait there.
struct Gate {
    Gate() { EXPECT_EQ(pipe(ends), 0); }
    ~Gate() {
        for (const int end : ends) ::close(end);
    }
    void open() { EXPECT_EQ(::write(ends[1], "x", 1), 1); }
    void wait() {
        char byte;
        EXPECT_EQ(read(ends[0], &byte, 1), 1);
    }
    int ends[2];
};

Value make_value(sarn::Type type, uint8_t seed);
int32_t write_any(void *handle, sarn::Field field, int32_t row, const Value &value);

// Without LMDB's lock file, so that it does not disturb the library in the same process.
inline MDB_env *open_raw(const std::string &path, unsigned flags) {
    MDB_env *env = nullptr;
    if (mdb_env_create(&env) != 0 || mdb_env_set_mapsize(env, STORE_SIZE) != 0) return nullptr;
    return mdb_env_open(env, path.c_str(), MDB_NOSUBDIR | flags, 0600) == 0 ? env : nullptr;
}

// Of a closed store, past the library: an entry with its check as the library would have stored it, or as it is.
inline void put_raw(const std::string &path, std::string key_text, std::string value_text, bool is_checked) {
    if (is_checked) {
        const uint32_t check =
            kora::checksum(kora::checksum(0, key_text.data(), key_text.size()), value_text.data(), value_text.size());
        value_text.append(reinterpret_cast<const char *>(&check), sizeof check);
    }
    MDB_env *env = open_raw(path, MDB_NOLOCK);
    MDB_txn *txn = nullptr;
    MDB_dbi values;
    MDB_val key = {key_text.size(), key_text.data()};
    MDB_val value = {value_text.size(), value_text.data()};
    ASSERT_EQ(mdb_txn_begin(env, nullptr, 0, &txn), 0);
    ASSERT_EQ(mdb_dbi_open(txn, nullptr, 0, &values), 0);
    ASSERT_EQ(mdb_put(txn, values, &key, &value, 0), 0);
    ASSERT_EQ(mdb_txn_commit(txn), 0);
    mdb_env_close(env);
    ASSERT_EQ(truncate(path.c_str(), STORE_SIZE), 0);
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
