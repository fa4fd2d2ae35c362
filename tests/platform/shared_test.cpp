#include <atomic>
#include <functional>
#include <thread>
#include <vector>

#include "tests/platform/support.h"

namespace {

class Shared : public StoreTest {
protected:
    static void run_threads(int count, const std::function<void(int)> &body) {
        std::vector<std::thread> threads;
        for (int i = 0; i < count; ++i) threads.emplace_back(body, i);
        for (std::thread &thread : threads) thread.join();
    }
    // Another process that holds snapshots open: no page that was in use at their beginning is used again.
    pid_t start_stopped_reader(int readers) {
        Gate is_there;
        const pid_t reader = start_process([&] {
            MDB_env *env = open_raw(path, MDB_NOTLS);
            MDB_txn *txn = nullptr;
            for (int i = 0; i < readers && mdb_txn_begin(env, nullptr, MDB_RDONLY, &txn) == 0; ++i) {
            }
            is_there.open();
            return pause();
        });
        is_there.wait();
        return reader;
    }
    static void kill_process(pid_t process) {
        kill(process, SIGKILL);
        EXPECT_EQ(end_of(process), KILLED);
    }
};

constexpr int FILL_LIMIT = 100'000;

TEST_F(Shared, AllWhoComeFirstTogetherSucceed) {
    constexpr int PROCESSES = 8;
    for (int round = 0; round < 10; ++round) {
        const std::string own_folder = folder + "/" + std::to_string(round);
        use(own_folder + "/store.mdb");
        Gate start;
        std::vector<pid_t> children;
        for (int i = 0; i < PROCESSES; ++i) {
            children.push_back(start_process([&] {
                std::atomic<int> failures{0};
                start.wait();
                run_threads(2, [&](int thread) {
                    void *own = kora_init_ex(nullptr);
                    const int row = 2 * i + thread;
                    failures += kora_set_ascii(own, "DeviceIdList", row, "DeviceOS", std::to_string(row).c_str()) != 0;
                    failures += kora_destroy(own) != 0;
                });
                return failures.load();
            }));
        }
        for (int i = 0; i < PROCESSES; ++i) start.open();
        for (const pid_t child : children) EXPECT_EQ(end_of(child), 0);
        open();
        for (int i = 0; i < 2 * PROCESSES; ++i) EXPECT_EQ(text("DeviceOS", i), std::to_string(i));
        kora_destroy(handle);
        std::filesystem::remove_all(own_folder);
    }
}

TEST_F(Shared, ForkedChildHasItsOwnAndHarmsNobody) {
    open();
    ASSERT_EQ(set("parent"), 0);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(run_process([&] {
                      if (text() == "unread" || set("child " + std::to_string(i)) != 0) return 1;
                      return kora_destroy(handle) != 0 || kora_destroy(handle) == 0 || text() != "unread" ? 2 : 0;
                  }),
                  0);
        EXPECT_EQ(text(), "child " + std::to_string(i));
    }
    ASSERT_EQ(rename(path.c_str(), (path + "2").c_str()), 0);
    EXPECT_EQ(run_process([&] { return mkdir(path.c_str(), 0700) != 0 || text() != "unread" || set("x") == 0; }), 0);
    EXPECT_EQ(set("parent again"), 0);
}

TEST_F(Shared, ClosingWaitsForThoseInside) {
    for (int round = 0; round < 50; ++round) {
        open();
        std::atomic<int> started{0};
        run_threads(4, [&](int i) {
            ++started;
            while (i == 3 && started < 4) std::this_thread::yield();
            EXPECT_TRUE(i != 3 || kora_destroy(handle) == 0);
            for (int n = 0; set(std::to_string(n), "DeviceModel", i) == 0; ++n) (void)text("DeviceModel", i);
            EXPECT_EQ(text("DeviceModel", i), "unread");
        });
    }
}

TEST_F(Shared, AFullStoreKeepsWhatItHeldAndRecovers) {
    open();
    ASSERT_EQ(set("kept", "DeviceUUID"), 0);
    const pid_t reader = start_stopped_reader(1);
    int written = 0;
    const std::string log = log_of([&] {
        while (written < FILL_LIMIT && set(std::to_string(written), "DeviceHostname", written % 256) == 0) ++written;
        EXPECT_NE(set("another that fails"), 0);
    });
    ASSERT_LT(written, FILL_LIMIT) << "never full";
    EXPECT_NE(log.find("cannot write the store: it is full"), std::string::npos) << log;
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 1) << log;

    EXPECT_EQ(kora_begin(handle, KORA_WRITING), 0);
    EXPECT_NE(set("does not fit"), 0);
    EXPECT_NE(set("", "DeviceUUID"), 0) << "nothing of this group is kept";
    EXPECT_NE(kora_end(handle, 1), 0);
    // Removals go on into the last pages, and the one that finds none is undone whole.
    int removed = 0;
    const auto remove_next = [&] {
        bool is_written = kora_begin(handle, KORA_WRITING) == 0 && set("", "DeviceHostname", removed) == 0;
        for (int row = 0; row < 256; row += 64) {
            is_written = is_written && set("removal " + std::to_string(removed), "DeviceOS", row) == 0;
        }
        return kora_end(handle, 1) == 0 && is_written;
    };
    while (remove_next()) ++removed;
    EXPECT_GT(removed, 2) << "a removal still works";
    EXPECT_LT(removed, 256) << "never full";
    EXPECT_FALSE(remove_next());
    EXPECT_NE(set("still full"), 0);

    EXPECT_EQ(text("DeviceUUID"), "kept");
    for (int row = 0; row < 256; row += 64) EXPECT_EQ(text("DeviceOS", row), "removal " + std::to_string(removed - 1));
    for (int i = written - 256; i < written; ++i) {
        EXPECT_EQ(text("DeviceHostname", i % 256), i % 256 < removed ? "" : std::to_string(i));
    }
    kill_process(reader);
    for (int i = 0; i < 256; ++i) EXPECT_EQ(set("", "DeviceHostname", i), 0) << "a dead reader still holds pages";
    EXPECT_EQ(std::filesystem::file_size(path), static_cast<uintmax_t>(STORE_SIZE));
}

TEST_F(Shared, AGroupThatIsGivenUpForAFailedWriteSaysSo) {
    open();
    const pid_t reader = start_stopped_reader(1);
    bool is_written = true;
    const std::string log = log_of([&] {
        for (int i = 0; i < FILL_LIMIT && is_written; ++i) {
            is_written = kora_begin(handle, KORA_WRITING) == 0 && set(std::to_string(i)) == 0;
            EXPECT_EQ(kora_end(handle, is_written), 0);
        }
    });
    EXPECT_NE(log.find("cannot write the store: it is full"), std::string::npos) << log;
    kill_process(reader);
}

TEST_F(Shared, KilledReadersDoNotLockOthersOut) {
    open();
    const pid_t hog = start_stopped_reader(FILL_LIMIT);
    EXPECT_NE(log_of([&] { EXPECT_EQ(text(), "unread"); }).find("too many readers"), std::string::npos);
    kill_process(hog);
    EXPECT_EQ(text(), "");
    EXPECT_EQ(set("works"), 0);
}

TEST_F(Shared, AStoppedWriterIsNamedAndKeepsNoReaderWaiting) {
    open();
    ASSERT_EQ(set("old"), 0);
    Gate is_inside;
    const pid_t stopped = start_process([&] {
        if (kora_begin(handle, KORA_WRITING) + set("half") != 0) return 1;
        is_inside.open();
        return pause();
    });
    is_inside.wait();
    int32_t process = 0;
    EXPECT_EQ(kora_writing_process(handle, &process), 0);
    EXPECT_EQ(process, stopped);
    EXPECT_EQ(text(), "old");
    kill_process(stopped);
    EXPECT_EQ(set("new"), 0);
    EXPECT_EQ(kora_writing_process(handle, &process), 0);
    EXPECT_EQ(process, 0);
    EXPECT_NE(kora_writing_process(handle, nullptr), 0);
    ASSERT_EQ(kora_destroy(handle) + unlink((path + "-writer").c_str()) + mkdir((path + "-writer").c_str(), 0700), 0);
    open();
    EXPECT_EQ(log_of([&] { EXPECT_NE(kora_writing_process(handle, &process), 0); }), "") << "no page for it";
}

}  // namespace
