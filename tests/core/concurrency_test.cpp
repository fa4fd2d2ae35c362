#include <atomic>
#include <latch>
#include <thread>

#include "support/library_test.h"
#include "support/process.h"

class Concurrency : public LibraryTest {
protected:
    // A rebuild has come to row 5 and waits there for `go_on_`.
    void SetUp() override {
        LibraryTest::SetUp();
        put_devices(20);
        fake::set("general", 0, "SARNSyncTimestamp", "1");
        start();
        fake::on_operation([this](const std::string &line) {
            if (line != "get Sarnsignature 5 DeviceMAC" || is_held_.exchange(true)) return;
            reached_.count_down();
            go_on_.wait();
        });
        threads_.emplace_back([] { EXPECT_EQ(get_total_sarn_entries_used(), 20); });
        reached_.wait();
    }
    void TearDown() override {
        for (std::thread &thread : threads_) thread.join();
        EXPECT_EQ(find_row(mac_of(19)), 19);
        LibraryTest::TearDown();
    }
    std::atomic<bool> is_held_ = false;
    std::latch reached_{1}, begun_{4}, go_on_{1};
    std::vector<std::thread> threads_;
    device_info record_;
};

TEST_F(Concurrency, CallsThatMeetARebuildAnswerFromTheWholeTable) {
    EXPECT_EQ(create_mapping_table(), SARN_ERR_BUILD_RUNNING);  // would never return if it waited
    const std::pair<std::function<int()>, int> calls[] = {
        {get_total_sarn_entries_used, 20},
        {[] { return find_row(mac_of(19)); }, 19},
        {[] { return report(mac_of(19), "UP", SARN_PRODUCER_LOOKUP_ONLY); }, SARN_OK},
        {[this] { return get_device_info_at_index(&record_, 19); }, SARN_OK},
    };
    for (const auto &each : calls) {
        threads_.emplace_back([this, each] {
            begun_.count_down();
            EXPECT_EQ(each.first(), each.second);
        });
    }
    begun_.wait();
    go_on_.count_down();
}

// Neither sanitizer lets a child of a process with threads go on.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
TEST_F(Concurrency, AForkDuringARebuildLeavesAWholeChild) {
    threads_.emplace_back([this] {
        for (int i = 0; i < 10'000; ++i) std::this_thread::yield();
        go_on_.count_down();
    });
    EXPECT_EQ(run_process([] {
                  alarm(60);  // a lock that nobody holds any more is waited for without end
                  return get_total_sarn_entries_used() == 20 && report(mac_of(19)) == SARN_OK ? 0 : 1;
              }),
              0);
}
#endif
