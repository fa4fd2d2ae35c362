// A store of its own for each test, in memory; other processes; calls of the system that fail.
#ifndef TESTS_PLATFORM_SUPPORT_H
#define TESTS_PLATFORM_SUPPORT_H

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <atomic>
#include <functional>
#include <latch>
#include <thread>
#include <tuple>
#include <vector>

#include "core/schema.h"
#include "platform/kora.h"
#include "platform/kora_checksum.h"
#include "tests/support/any_value.h"
#include "tests/support/own_store.h"
#include "tests/support/process.h"

// The library's own calls of the system go through functions of this program (support.cpp): the clocks of this
// process are later than they are, and the n-th call that changes a file kills the process or fails.
namespace faults {
inline std::atomic<int64_t> seconds_later{0};
inline int calls_until = 0;  // 0: none; -1: it has happened
inline bool is_killing = false;
inline long page_size = 0;            // 0: this machine's
inline int read_error = 0;            // of opening a file to read it; 0: none
inline bool is_without_room = false;  // the file system reserves none
inline std::string removed_name;      // gone once, when LMDB opens it
inline std::string *trace = nullptr;  // one letter for each call: folder (d), open, chmod, write, sync, move
inline char meanwhile_at = '\0';      // what happens just before the next call with this letter
inline std::function<void()> meanwhile;
}  // namespace faults

inline long lines_of(const std::string &log) { return std::count(log.begin(), log.end(), '\n'); }

class StoreTest : public testing::Test, protected OwnStore {
protected:
    void TearDown() override { kora_destroy(handle); }
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
    // What opening says when it must be refused, with one line in the log.
    std::string refusal() {
        const std::string log = log_of([&] { EXPECT_EQ(kora_init_ex(nullptr), nullptr); });
        EXPECT_EQ(lines_of(log), 1) << log;
        return log;
    }
    uint64_t changes() {
        uint64_t number = 0;
        EXPECT_EQ(kora_changes(handle, &number), 0);
        return number;
    }
    std::string text(const char *field = "DeviceHostname", int32_t row = 0) {
        char buffer[KORA_TEXT_MAX + 1] = "unread";
        kora_get_ascii(handle, "DeviceIdList", row, field, buffer, sizeof buffer);
        return buffer;
    }
    int32_t set(const std::string &value, const char *field = "DeviceHostname", int32_t row = 0) {
        return kora_set_ascii(handle, "DeviceIdList", row, field, value.c_str());
    }

    void *handle = nullptr;
};

// By the operation of this type, whatever the field's.
int32_t write_as(sarn::Type type, void *handle, sarn::Field field, int32_t row, const Value &value);

#endif
