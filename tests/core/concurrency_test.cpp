#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <latch>
#include <set>
#include <thread>
#include <vector>

#include "core/row_bitmap.h"
#include "support/library_test.h"

class Concurrency : public LibraryTest {
protected:
    static void run_threads(int count, const std::function<void(int)> &body) {
        std::vector<std::thread> threads;
        for (int i = 0; i < count; ++i) threads.emplace_back(body, i);
        for (std::thread &thread : threads) thread.join();
    }
    // Twenty devices, and a rebuild that has come to row 5 and waits there for `go_on_`.
    void hold_rebuild() {
        put_devices(20);
        fake::set("general", 0, "SARNSyncTimestamp", "1");
        start();
        fake::on_operation([this](const std::string &line) {
            if (line != "get_mac Sarnsignature 5 DeviceMAC" || is_held_.exchange(true)) return;
            reached_.count_down();
            go_on_.wait();
        });
        rebuilder_ = std::thread([] { EXPECT_EQ(get_total_sarn_entries_used(), 20); });
        reached_.wait();
    }
    std::atomic<bool> is_held_ = false;
    std::latch reached_{1}, go_on_{1};
    std::thread rebuilder_;
};

TEST_F(Concurrency, CallsThatMeetARebuildAnswerFromTheWholeTable) {
    hold_rebuild();
    EXPECT_EQ(create_mapping_table(), SARN_ERR_BUILD_RUNNING);  // would never return if it waited
    const signature_record report = signature_of(mac_of(19));
    device_info record;
    const std::pair<std::function<int()>, int> calls[] = {
        {get_total_sarn_entries_used, 20},
        {[] { return find_row(mac_of(19)); }, 19},
        {[&] { return update_device_signature(&report, SARN_PRODUCER_LOOKUP_ONLY); }, SARN_OK},
        {[&] { return get_device_info_at_index(&record, 19); }, SARN_OK},
    };
    std::latch begun{4};
    run_threads(5, [&](int i) {
        if (i == 4) {
            begun.wait();
            go_on_.count_down();
        } else {
            begun.count_down();
            EXPECT_EQ(calls[i].first(), calls[i].second) << i;
        }
    });
    rebuilder_.join();
    EXPECT_GE(create_mapping_table(), 0);
}

// Neither sanitizer lets a child of a process with threads go on.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
TEST_F(Concurrency, AForkDuringARebuildLeavesAWholeChild) {
    hold_rebuild();
    std::atomic<bool> is_forking = false;
    std::thread opener([&] {
        while (!is_forking) std::this_thread::yield();
        for (int i = 0; i < 10'000; ++i) std::this_thread::yield();
        go_on_.count_down();
    });
    is_forking = true;
    const pid_t child = fork();
    if (child == 0) {
        alarm(60);  // a lock that nobody holds any more is waited for without end
        const signature_record report = signature_of(mac_of(19));
        const bool is_whole = get_total_sarn_entries_used() == 20 && find_row(mac_of(19)) == 19;
        _exit(is_whole && update_device_signature(&report, 0) == SARN_OK ? 0 : 1);
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    opener.join();
    rebuilder_.join();
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

TEST_F(Concurrency, StoppingWaitsForACallThatUsesTheStore) {
    put_devices(10);
    start();
    std::thread stopper;
    fake::on_operation([&](const std::string &line) {
        if (line != "get_ascii Sarnsignature 3 DeviceHua") return;
        stopper = std::thread([] { EXPECT_EQ(sarn_uninit(), SARN_OK); });
        for (int i = 0; i < 10'000; ++i) std::this_thread::yield();
    });
    device_info record;
    EXPECT_EQ(get_device_info_at_index(&record, 3), SARN_OK);
    stopper.join();
    EXPECT_EQ(fake::open_handles(), 0);
}
