#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

#include "core/row_bitmap.h"
#include "support/library_test.h"

namespace {

template <typename Body>
void run_threads(int count, Body body) {
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) threads.emplace_back(body, i);
    for (std::thread &thread : threads) thread.join();
}

// A door that one thread holds shut for another.
class Door {
public:
    void open() {
        const std::lock_guard hold(lock_);
        is_open_ = true;
        changed_.notify_all();
    }
    void pass() {
        std::unique_lock hold(lock_);
        changed_.wait(hold, [this] { return is_open_; });
    }

private:
    std::mutex lock_;
    std::condition_variable changed_;
    bool is_open_ = false;
};

}  // namespace

class Concurrency : public LibraryTest {
protected:
    // Stops the first build that reads row 5 until `go_on` opens.
    void hold_build_at_row_5(Door &reached, Door &go_on) {
        fake::on_operation([&, held = std::make_shared<std::atomic<bool>>(false)](const std::string &line) {
            if (line != "get_mac Sarnsignature 5 DeviceMAC" || held->exchange(true)) return;
            reached.open();
            go_on.pass();
        });
    }
};

TEST_F(Concurrency, EachCallGetsItsOwnResult) {
    put_devices(4);
    fake::set("general", 0, "SARNSyncTimestamp", "-1");
    start();
    std::atomic<int> wrong = 0;
    run_threads(8, [&](int thread) {
        const signature_record known = signature_of(mac_of(1));
        const signature_record refused = signature_of("no address");
        device_info record;
        for (int i = 0; i < 250; ++i) {
            switch ((thread + i) % 5) {
                case 0: wrong += update_device_signature(&known, 0) != SARN_OK; break;
                case 1: wrong += update_device_signature(&known, 5) != SARN_ERR_PRODUCER; break;
                case 2: wrong += update_device_signature(&refused, 0) != SARN_ERR_MAC; break;
                case 3: wrong += get_device_info_at_index(&record, 9) != SARN_ERR_UNUSED_ROW; break;
                default: wrong += get_device_info_at_index(&record, 300) != SARN_ERR_ROW_RANGE; break;
            }
        }
    });
    EXPECT_EQ(wrong, 0);
}

TEST_F(Concurrency, SecondBuildIsRefusedWithoutWaiting) {
    start();
    Door reached, go_on;
    hold_build_at_row_5(reached, go_on);
    std::thread builder([] { EXPECT_GE(create_mapping_table(), 0); });
    reached.pass();
    EXPECT_EQ(create_mapping_table(), SARN_ERR_BUILD_RUNNING);  // would never return if it waited
    go_on.open();
    builder.join();
    EXPECT_GE(create_mapping_table(), 0);
}

TEST_F(Concurrency, CallsThatMeetARebuildAnswerFromTheWholeTable) {
    put_devices(20);
    fake::set("general", 0, "SARNSyncTimestamp", "1");
    start();
    Door reached, go_on;
    hold_build_at_row_5(reached, go_on);
    std::thread rebuilder([] { EXPECT_EQ(get_total_sarn_entries_used(), 20); });
    reached.pass();
    std::atomic<int> begun = 0;
    std::vector<std::thread> callers;
    for (int i = 0; i < 4; ++i) {
        callers.emplace_back([&begun, i] {
            ++begun;
            device_info record;
            const signature_record report = signature_of(mac_of(19));
            if (i == 0) {
                EXPECT_EQ(get_total_sarn_entries_used(), 20);
            }
            if (i == 1) {
                EXPECT_EQ(find_row(mac_of(19)), 19);
            }
            if (i == 2) {
                EXPECT_EQ(update_device_signature(&report, SARN_PRODUCER_LOOKUP_ONLY), SARN_OK);
            }
            if (i == 3) {
                EXPECT_EQ(get_device_info_at_index(&record, 19), SARN_OK);
            }
        });
    }
    while (begun != 4) std::this_thread::yield();
    go_on.open();
    rebuilder.join();
    for (std::thread &caller : callers) caller.join();
}

// Neither sanitizer lets a child of a process with threads go on.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
TEST_F(Concurrency, AForkDuringARebuildLeavesAWholeChild) {
    put_devices(20);
    fake::set("general", 0, "SARNSyncTimestamp", "1");
    start();
    Door reached, go_on;
    hold_build_at_row_5(reached, go_on);
    std::thread rebuilder([] { EXPECT_EQ(get_total_sarn_entries_used(), 20); });
    reached.pass();
    std::atomic<bool> is_forking = false;
    std::thread opener([&] {
        while (!is_forking) std::this_thread::yield();
        for (int i = 0; i < 10'000; ++i) std::this_thread::yield();
        go_on.open();
    });
    is_forking = true;
    const pid_t child = fork();
    if (child == 0) {
        alarm(60);  // a lock that nobody holds any more is waited for without end
        const signature_record report = signature_of(mac_of(19));
        _exit(get_total_sarn_entries_used() == 20 && find_row(mac_of(19)) == 19 &&
                      update_device_signature(&report, 0) == SARN_OK
                  ? 0
                  : 1);
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    opener.join();
    rebuilder.join();
    EXPECT_EQ(find_row(mac_of(19)), 19);
}
#endif

TEST_F(Concurrency, RowsAreNeitherSharedNorSplit) {
    fake::set("general", 0, "SARNSyncTimestamp", "-1");
    start();
    run_threads(8, [&](int thread) {
        for (int i = 0; i < 24; ++i) {
            // Three threads race for each MAC.
            const signature_record report = signature_of(mac_of(i + 24 * (thread / 3)), i % 2 == 0 ? "DOWN" : "UP");
            EXPECT_EQ(update_device_signature(&report, 0), SARN_OK);
        }
    });
    std::set<std::string> macs;
    for (int row = 0; row < 72; ++row) {
        macs.insert(fake::get("Sarnsignature", row, "DeviceMAC"));
        EXPECT_EQ(fake::get("DeviceIdList", row, "DeviceMAC"), fake::get("Sarnsignature", row, "DeviceMAC"));
        EXPECT_EQ(sarn::has_row(sarn::offline_bitmap, row), fake::get("Sarnsignature", row, "Devicestate") == "DOWN");
    }
    EXPECT_EQ(macs.size(), 72U);
    EXPECT_EQ(get_total_sarn_entries_used(), 72);
}

TEST_F(Concurrency, StoppingWaitsForNobodysHandle) {
    put_devices(10);
    start();
    std::atomic<bool> stop = false;
    std::thread restarter([&] {
        for (int i = 0; i < 50; ++i) {
            (void)sarn_uninit();
            (void)sarn_init();
        }
        stop = true;
    });
    run_threads(3, [&](int) {
        device_info record;
        while (!stop) {
            const int result = get_device_info_at_index(&record, 3);
            EXPECT_TRUE(result == SARN_OK || result == SARN_ERR_NOT_INITIALISED) << result;
        }
    });
    restarter.join();
    EXPECT_EQ(fake::open_handles(), 1);
}
