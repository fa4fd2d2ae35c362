// Many processes and threads on the same devices, some of them killed.
#include <signal.h>

#include <algorithm>
#include <climits>
#include <filesystem>
#include <fstream>
#include <thread>
#include <vector>

#include "platform/kora.h"
#include "tests/trials/trial.h"

using namespace trial;

namespace {

constexpr int PROCESSES = 4;
constexpr int THREADS = 4;
constexpr int LASTING = 8;  // devices that nobody removes and that stay up
constexpr int SHARED = 40;

void make_any_call(std::mt19937 &random) {
    const auto call = static_cast<Call>(random() % static_cast<unsigned>(Call::Count));
    const bool is_ending = call == Call::Remove || call == Call::Offline;
    const int device =
        is_ending ? LASTING + static_cast<int>(random() % (SHARED - LASTING)) : static_cast<int>(random() % SHARED);
    const int result = make(call, device);
    if (!(device < LASTING ? is_expected_alone(call, result) : is_expected(call, result))) {
        ++control->failures;
        fprintf(stderr, "%s of device %d: result %d\n", name_of(call), device, result);
    }
    ++control->calls;
}

// As many calls from each thread, unless the trial is over before.
int be_a_daemon(uint32_t seed, long calls = LONG_MAX) {
    if (sarn_init() != SARN_OK) return 1;
    std::vector<std::thread> threads;
    for (uint32_t i = 0; i < THREADS; ++i) {
        threads.emplace_back([=] {
            std::mt19937 random(seed + i);
            for (long n = 0; n < calls && !control->is_over; ++n) make_any_call(random);
        });
    }
    for (std::thread &thread : threads) thread.join();
    return 0;
}

// Memory that is the process' own; the sanitizers keep what is freed.
long own_kib() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return 0;
#endif
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        long kib = 0;
        if (word == "RssAnon:" && status >> kib) return kib;
    }
    return -1;
}

// Of the store's lock file, which has 64 bytes for each, and a header that counts as some.
long used_reader_places(const std::string &store) {
    std::ifstream file(store + "-lock");
    long used = 0;
    for (char place[64]; file.read(place, sizeof place);) {
        used += std::any_of(place, place + sizeof place, [](char byte) { return byte != 0; });
    }
    return used;
}

struct Held {
    long own_kib, descriptors, reader_places, store_size;
};

Held what_is_held(const std::string &store) {
    namespace fs = std::filesystem;
    const long descriptors = std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
    return {own_kib(), descriptors, used_reader_places(store), static_cast<long>(fs::file_size(store))};
}

}  // namespace

class Crowd : public TrialTest {
protected:
    void SetUp() override {
        TrialTest::SetUp();
        control->calls = control->failures = 0;
        control->is_over = false;
    }
};

TEST_F(Crowd, ThreadsOfOneProcessGetTheirOwnResults) {
    const uint32_t first = seed();
    fill(LASTING);
    EXPECT_EQ(run_process([&] { return be_a_daemon(first, 250L * scale()); }), 0);
    printf("%ld calls\n", control->calls.load());
    EXPECT_EQ(control->failures, 0);
    EXPECT_GE(check("at the end"), LASTING);
}

TEST_F(Crowd, ProcessesAndThreadsShareDevicesAndAreKilled) {
    const long calls = 5'000L * scale();
    const int kills = 20 * scale();
    std::mt19937 random(seed());
    fill(LASTING);
    std::vector<pid_t> daemons(PROCESSES);
    const auto start = [&](pid_t &daemon) {
        const auto own_seed = static_cast<uint32_t>(random());
        daemon = start_process([=] { return be_a_daemon(own_seed); });
    };
    for (pid_t &daemon : daemons) start(daemon);
    // Or until one has ended, which none does that is well.
    const auto wait_for = [](long wanted) {
        siginfo_t ended = {};
        while (control->calls < wanted && ended.si_pid == 0) {
            usleep(100);
            waitid(P_ALL, 0, &ended, WEXITED | WNOHANG | WNOWAIT);
        }
    };
    for (int i = 1; i <= kills; ++i) {
        wait_for(calls * i / (kills + 1));
        pid_t &daemon = daemons[random() % PROCESSES];
        kill(daemon, SIGKILL);
        EXPECT_EQ(end_of(daemon), KILLED);
        start(daemon);
    }
    wait_for(calls);
    control->is_over = true;
    for (const pid_t daemon : daemons) EXPECT_EQ(end_of(daemon), 0);
    printf("%ld calls, %d kills\n", control->calls.load(), kills);
    EXPECT_EQ(control->failures, 0);
    EXPECT_GE(check("at the end"), LASTING);
    EXPECT_EQ(run_process([] {
                  int missing = sarn_init() != SARN_OK;
                  for (int i = 0; i < LASTING; ++i) missing += make(Call::Read, i) != SARN_OK;
                  return missing;
              }),
              0);
}

TEST_F(Crowd, MoreClaimantsThanRows) {
    constexpr int CLAIMANTS = 8;
    constexpr int SHARED_MACS = 200;
    std::mt19937 random(seed());
    for (int round = 0; round < 2 * scale(); ++round) {
        empty_store();
        std::vector<pid_t> claimants;
        for (int i = 0; i < CLAIMANTS; ++i) {
            const auto own_seed = static_cast<uint32_t>(random());
            claimants.push_back(start_process([=] {
                std::vector<int> devices;
                for (int n = 0; n < SHARED_MACS; ++n) devices.push_back(n);
                for (int n = 0; n < 20; ++n) devices.push_back(1000 + 100 * i + n);
                std::shuffle(devices.begin(), devices.end(), std::mt19937(own_seed));
                int wrong = sarn_init() != SARN_OK;
                for (const int device : devices) {
                    const int result = make(Call::Signature, device);
                    wrong += result != SARN_OK && result != SARN_ERR_NO_ROW;
                    // Whoever has a row keeps it.
                    if (result == SARN_OK) wrong += make(Call::Read, device) != SARN_OK;
                }
                return wrong;
            }));
        }
        for (const pid_t claimant : claimants) EXPECT_EQ(end_of(claimant), 0);
        EXPECT_EQ(check("round " + std::to_string(round)), 256);
    }
}

TEST_F(Crowd, KilledReadersHoldNobodyUp) {
    fill(10);
    // The writer is there before them all, and stays: a store that is opened alone has a new list of readers.
    EXPECT_EQ(run_process([] {
                  int failed = kora_init_ex(nullptr) == nullptr;
                  for (int i = 0; i < 20 * scale(); ++i) {
                      failed += run_process([] {
                                    if (!is_started()) return 1;
                                    arm(Fault::KillBefore, 30);  // inside its group
                                    return make(Call::Read, 1);
                                }) != KILLED;
                  }
                  failed += sarn_init() != SARN_OK;
                  // Too many for the room beside a snapshot. One that is refused is told of by nothing but its text.
                  const std::string mac = mac_of(1);
                  std::string text;
                  for (int i = 0; i < 2000 * scale(); ++i) {
                      text = std::to_string(1'000'000 + i);
                      failed += sarn_update_table_field(mac.c_str(), SARN_FIELD_UUID, text.c_str(), 7, 0) != SARN_OK;
                  }
                  device_info found;
                  return failed + (get_device_info_by_mac(&found, mac.c_str()) != SARN_OK || found.DeviceUUID != text);
              }),
              0);
    EXPECT_EQ(check("after the readers"), 10);
}

TEST_F(Crowd, NothingGrows) {
    const uint32_t first = seed();
    fill(20);
    EXPECT_EQ(run_process([&] {
                  alarm(static_cast<unsigned>(600 * scale()));
                  if (sarn_init() != SARN_OK) return 1;
                  std::mt19937 random(first);
                  for (int i = 0; i < 1000; ++i) make_any_call(random);
                  const Held before = what_is_held(path);
                  for (long i = 0; i < 5000L * scale(); ++i) make_any_call(random);
                  const Held after = what_is_held(path);
                  for (const Held &held : {before, after}) {
                      printf("%ld KiB, %ld descriptors, %ld places of readers, store of %ld bytes\n", held.own_kib,
                             held.descriptors, held.reader_places, held.store_size);
                  }
                  fflush(stdout);
                  constexpr long SLACK_KIB = 128;  // the allocator's and the loader's
                  const bool is_same = after.descriptors == before.descriptors &&
                                       after.store_size == before.store_size &&
                                       after.reader_places == before.reader_places;
                  return before.own_kib >= 0 && after.own_kib <= before.own_kib + SLACK_KIB && is_same ? 0 : 2;
              }),
              0);
    EXPECT_EQ(control->failures, 0);
}
