// Many processes and threads on the same devices, some of them killed.
#include <dlfcn.h>

#include <fstream>
#include <random>
#include <thread>

#include "platform/kora.h"
#include "tests/trials/trial.h"

using namespace trial;

namespace {

constexpr int LASTING = 8;  // devices that nobody removes and that stay up
constexpr int SHARED = 40;

void make_any_call(std::mt19937 &random) {
    const Call &any = CALLS[random() % CALLS.size()];
    const bool is_ending = any.is("remove") || any.is("offline") || any.is("state");
    const auto device = static_cast<int>(is_ending ? LASTING + random() % (SHARED - LASTING) : random() % SHARED);
    const int result = any.make(device);
    if (!(device < LASTING ? any.allows_alone(result) : any.allows(result))) {
        ++control->failures;
        fprintf(stderr, "%s of device %d: result %d\n", any.name, device, result);
    }
    ++control->calls;
}

// Calls from four threads and their forks, until the trial is over.
int be_a_daemon(uint32_t seed) {
    if (sarn_init() != SARN_OK) return 1;
    std::vector<std::thread> threads;
    for (uint32_t i = 0; i < 4; ++i) {
        threads.emplace_back([=] {
            for (std::mt19937 random(seed + i); !control->is_over; make_any_call(random)) {
#ifndef HAS_OTHER_ALLOCATOR  // which does not survive a fork beside threads
                const auto call_and_stop = [&] { return make_any_call(random), sarn_uninit() != SARN_OK; };
                if (random() % 50 == 0) control->failures += run_process(call_and_stop) != 0;
#endif
            }
        });
    }
    for (std::thread &thread : threads) thread.join();
    return 0;
}

class Crowd : public TrialTest {
protected:
    void TearDown() override {
        EXPECT_EQ(control->failures, 0);
        EXPECT_GE(check("at the end"), LASTING);
    }
};

TEST_F(Crowd, ProcessesAndThreadsShareDevicesAndAreKilled) {
    const long calls = 5'000L * scale();
#ifdef HAS_OTHER_ALLOCATOR
    const int kills = 20;  // so that each lives long enough to meet the races of long lives
#else
    const int kills = 20 * scale();
#endif
    std::mt19937 random(seed());
    prepare(LASTING);
    pid_t daemons[4];
    const auto start = [&](pid_t &daemon) {
        daemon = start_process([own = static_cast<uint32_t>(random())] { return be_a_daemon(own); });
    };
    for (pid_t &daemon : daemons) start(daemon);
    // Or until one has ended, which none does that is well.
    const auto wait_for = [](long wanted) {
        for (siginfo_t ended = {}; control->calls < wanted && ended.si_pid == 0; usleep(100))
            waitid(P_ALL, 0, &ended, WEXITED | WNOHANG | WNOWAIT);
    };
    for (int i = 1; i <= kills; ++i) {
        wait_for(calls * i / (kills + 1));
        pid_t &daemon = daemons[random() % std::size(daemons)];
        kill(daemon, SIGKILL);
        EXPECT_EQ(end_of(daemon), KILLED);
        start(daemon);
    }
    wait_for(calls);
    control->is_over = true;
    for (const pid_t daemon : daemons) EXPECT_EQ(end_of(daemon), 0);
    printf("%ld calls, %d kills\n", control->calls.load(), kills);
}

TEST_F(Crowd, MoreClaimantsThanRows) {
    std::mt19937 random(seed());
    const Call &report = call("signature"), &read = call("read");
    // Eight processes want rows for the same 200 devices, and for 20 of their own each.
    const auto claim = [&](int claimant, uint32_t order) {
        std::vector<int> devices(220);
        for (int n = 0; n < 220; ++n) devices[static_cast<size_t>(n)] = n < 200 ? n : 1000 + 100 * claimant + n;
        std::shuffle(devices.begin(), devices.end(), std::mt19937(order));
        int wrong = sarn_init() != SARN_OK;
        for (const int device : devices) {
            const int result = report.make(device);
            wrong += !report.allows(result);
            if (result == SARN_OK) wrong += read.make(device) != SARN_OK;  // whoever has a row keeps it
        }
        return wrong;
    };
    for (int round = 0; round < 5 * scale(); ++round) {
        std::filesystem::remove_all(folder);  // whoever comes first makes all
        std::vector<pid_t> claimants;
        for (int i = 0; i < 8; ++i)
            claimants.push_back(
                start_process([&, i, order = static_cast<uint32_t>(random())] { return claim(i, order); }));
        for (const pid_t claimant : claimants) EXPECT_EQ(end_of(claimant), 0);
        EXPECT_EQ(check("round " + std::to_string(round)), 256);
    }
}

TEST_F(Crowd, KilledReadersHoldNobodyUp) {
    prepare(LASTING);
    // The writer is there before them all, and stays: a store that is opened alone has a new list of readers.
    EXPECT_EQ(run_process([] {
                  int failed = kora_init_ex(nullptr) == nullptr;
                  for (int i = 0; i < 20 * scale(); ++i) {
                      failed += run_process([] {
                                    if (!start_library()) return 1;
                                    arm(Fault::Kill, 30);  // inside its group
                                    return call("read").make(1);
                                }) != KILLED;
                  }
                  failed += sarn_init() != SARN_OK;
                  // Too many for the room beside a snapshot. One that is refused is told of by nothing but its text.
                  std::string text;
                  for (int i = 0; i < 2000 * scale(); ++i) {
                      text = std::to_string(1'000'000 + i);
                      failed += sarn_update_table_field(mac_of(1).c_str(), SARN_FIELD_UUID, text.c_str(), 7, 0) != 0;
                  }
                  device_info found;
                  return failed + (get_device_info_by_mac(&found, mac_of(1).c_str()) != 0 || found.DeviceUUID != text);
              }),
              0);
}

TEST_F(Crowd, TwoCopiesOfTheLibraryInOneProcess) {
    prepare(LASTING);
    // Not beside the store: where that lies nothing may be loaded in many a container.
    const std::string copy = testing::TempDir() + "sarn-copy-" + std::to_string(getpid()) + ".so";
    std::filesystem::copy_file(SARN_LIBRARY, copy);
    EXPECT_EQ(run_process([&] {
                  void *other = dlopen(copy.c_str(), RTLD_NOW | RTLD_LOCAL);
                  if (other == nullptr || sarn_init() != SARN_OK) return 1;
                  const auto start = reinterpret_cast<decltype(&sarn_init)>(dlsym(other, "sarn_init"));
                  const auto report =
                      reinterpret_cast<decltype(&update_device_signature)>(dlsym(other, "update_device_signature"));
                  int failed = start() != SARN_OK;
                  for (int i = LASTING; i < 40; ++i) {
                      const signature_record record = signature_of(mac_of(i));
                      failed += (i % 2 == 0 ? report(&record, 0) : call("signature").make(i)) != SARN_OK;
                      failed += call("read").make(i) != SARN_OK;
                  }
                  return failed;
              }),
              0);
    std::filesystem::remove(copy);
    EXPECT_EQ(check("two copies"), 40);
}

// What a process holds: its own memory in KiB (the sanitizers keep what is freed), descriptors, the store's bytes, and
// places in its list of readers, 64 bytes each behind a header that counts as some.
struct Held {
    long own_kib = 0, descriptors = 0, store_size = 0, reader_places = 0;
};

Held what_is_held(const std::string &store) {
    namespace fs = std::filesystem;
    Held held;
    std::ifstream status("/proc/self/status"), readers(store + "-lock");
#ifndef HAS_OTHER_ALLOCATOR
    for (std::string word; status >> word && word != "RssAnon:";) {
    }
    status >> held.own_kib;
#endif
    held.descriptors = std::distance(fs::directory_iterator("/proc/self/fd"), {});
    held.store_size = static_cast<long>(fs::file_size(store));
    for (char place[64]; readers.read(place, sizeof place);)
        held.reader_places += std::ranges::any_of(place, [](char byte) { return byte != 0; });
    printf("%ld KiB, %ld descriptors, store of %ld bytes, %ld places of readers\n", held.own_kib, held.descriptors,
           held.store_size, held.reader_places);
    fflush(stdout);
    return held;
}

TEST_F(Crowd, NothingGrows) {
    constexpr long SLACK_KIB = 128;  // the allocator's and the loader's
    std::mt19937 random(seed());
    prepare(LASTING);
    EXPECT_EQ(run_process([&] {
                  alarm(static_cast<unsigned>(600 * scale()));
                  if (sarn_init() != SARN_OK) return 1;
                  const auto held_after = [&](long calls) {
                      for (long i = 0; i < calls; ++i) make_any_call(random);
                      return what_is_held(path);
                  };
                  const Held before = held_after(1000), after = held_after(5000L * scale());
                  const bool is_same = after.descriptors == before.descriptors &&
                                       after.store_size == before.store_size &&
                                       after.reader_places == before.reader_places;
                  return after.own_kib <= before.own_kib + SLACK_KIB && is_same ? 0 : 2;
              }),
              0);
}

}  // namespace
