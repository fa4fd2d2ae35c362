// One process is killed or stopped at its n-th store operation, for every n, and others come after it or in between.
#include <signal.h>

#include <functional>
#include <vector>

#include "tests/trials/trial.h"

namespace trial {

namespace {

constexpr int DEVICES = 3;
constexpr int NEW_DEVICE = 7;

struct Operation {
    const char *name;
    int devices;               // in the store before
    int devices_after;         // and when nothing came in between
    const char *state;         // of those before
    std::function<int()> run;  // in a process of its own, started; 0 when it did what it should
    bool counts_start = false;
};

// The next position: in the short form every `stride`-th, and fewer far behind, where a rebuild reads all rows.
int next_position(int position, int stride) {
    if (scale() > 1) return position + 1;
    return position + (position < 50 ? stride : 25);
}

// Of pairs, a tenth of those far behind will do.
int next_of_pair(int position) { return scale() > 1 && position > 50 ? position + 10 : next_position(position, 4); }

int start_and(const std::function<int()> &run) { return sarn_init() == SARN_OK ? run() : -100; }

int make_and_tell(Call call, int device) {
    const int result = make(call, device);
    return is_expected(call, result) ? 0 : 1;
}

const Operation OPERATIONS[] = {
    {"creation", DEVICES, DEVICES + 1, "UP", [] { return make(Call::Signature, NEW_DEVICE); }},
    {"signature", DEVICES, DEVICES, "UP", [] { return make(Call::Offline, 1); }},
    {"connection", DEVICES, DEVICES, "UP", [] { return make(Call::Connection, 1); }},
    {"detail", DEVICES, DEVICES, "UP", [] { return make(Call::Detail, 1); }},
    {"removal", DEVICES, DEVICES - 1, "DOWN",
     [] { return is_expected_alone(Call::Remove, make(Call::Remove, 1)) ? 0 : 1; }},
    {"start", DEVICES, DEVICES, "UP", [] { return 0; }, true},
    {"clean-up", 179, 170, "DOWN", [] { return make(Call::Signature, 200); }},
};

}  // namespace

class Kill : public TrialTest {
protected:
    // Runs the operation in a new process that meets the fault at this position.
    int run_with(const Operation &operation, Fault fault, int position) {
        return run_process([&] {
            if (operation.counts_start) arm(fault, position);
            if (!(operation.counts_start ? sarn_init() == SARN_OK : is_started())) return 2;
            if (!operation.counts_start) arm(fault, position);
            const int result = operation.run();
            disarm();
            return result == 0 ? 0 : 1;
        });
    }

    void prepare(const Operation &operation) {
        empty_store();
        fill(operation.devices, operation.state);
        if (operation.counts_start) make_duplicates();
    }

    // What no process of this library leaves behind, but an older store may hold: two rows of one device.
    void make_duplicates();

    std::string text_of(const Operation &operation, Fault fault, int position) {
        return std::string(operation.name) + (fault == Fault::KillBefore ? " killed before " : " killed after ") +
               std::to_string(position);
    }
};

}  // namespace trial

using namespace trial;

extern "C" {
void *kora_init_ex(void *);
int32_t kora_destroy(void *);
int32_t kora_set_mac(void *, const char *, int32_t, const char *, const uint8_t *);
int32_t kora_set_enum(void *, const char *, int32_t, const char *, const char *);
}

void Kill::make_duplicates() {
    ASSERT_EQ(run_process([] {
                  void *handle = kora_init_ex(nullptr);
                  const uint8_t mac[6] = {2, 0, 0, 0, 0, 1};
                  int failed = kora_set_enum(handle, "sarngeneral", 0, "MappingComplete", "init");
                  for (const char *table : {"DeviceIdList", "Sarnsignature", "ConnectDeviceinfo"}) {
                      for (const int32_t row : {40, 90}) failed += kora_set_mac(handle, table, row, "DeviceMAC", mac);
                  }
                  return failed + kora_destroy(handle);
              }),
              0);
}

TEST_F(Kill, BeforeAndAfterEachOperationLeavesRowsOldOrNew) {
    for (const Operation &operation : OPERATIONS) {
        const bool is_long = operation.devices > 100;
        for (const Fault fault : {Fault::KillBefore, Fault::KillAfter}) {
            int position = 1;
            for (;; position = next_position(position, is_long || operation.counts_start ? 7 : 1)) {
                prepare(operation);
                const std::string when = text_of(operation, fault, position);
                const int end = run_with(operation, fault, position);
                if (end != KILLED) {
                    EXPECT_EQ(end, 0) << when;
                    EXPECT_EQ(check(when), operation.devices_after) << when;
                    break;
                }
                // A start that was cut off in its clearing leaves doubles for good, and none is half a device.
                check(when, operation.counts_start);
                EXPECT_EQ(run_with(operation, Fault::None, 0), 0) << when << ": the same call again";
                const int left = check(when + ", and again", operation.counts_start);
                // Where some are cleaned up, the table is not crowded any more.
                EXPECT_TRUE(left == operation.devices_after || (is_long && left > operation.devices_after))
                    << when << ": " << left << " devices";
            }
            printf("%s, killed %s: %d positions\n", operation.name, fault == Fault::KillBefore ? "before" : "after",
                   position - 1);
            EXPECT_GT(position, 1);
        }
    }
}

TEST_F(Kill, WhoComesNextIsKilledToo) {
    int pairs = 0;
    for (const Operation &operation : OPERATIONS) {
        if (scale() == 1 && (operation.devices > 100 || operation.counts_start)) continue;
        for (int first = 1;; first = next_of_pair(first)) {
            bool is_first_killed = true;
            for (int second = 1;; second = next_of_pair(second)) {
                prepare(operation);
                const int first_end = run_with(operation, Fault::KillBefore, first);
                const int second_end = run_with(operation, Fault::KillAfter, second);
                const std::string when =
                    text_of(operation, Fault::KillBefore, first) + ", the next at " + std::to_string(second);
                check(when, operation.counts_start);
                ++pairs;
                is_first_killed = first_end == KILLED;
                EXPECT_TRUE(is_first_killed || first_end == 0) << when << ": " << first_end;
                EXPECT_TRUE(second_end == KILLED || second_end == 0) << when << ": " << second_end;
                if (!is_first_killed || second_end != KILLED) break;
            }
            if (!is_first_killed) break;
        }
        EXPECT_EQ(run_with(operation, Fault::None, 0), 0) << operation.name;
        check(operation.name);
    }
    printf("%d pairs of positions\n", pairs);
    EXPECT_GT(pairs, 300);
}

class Stop : public TrialTest {
protected:
    // A is stopped at the position, B makes its whole call, A goes on. False when A never got there.
    bool run_pair(Call a, Call b, int device, int position) {
        control->has_fired = false;
        const pid_t stopped = start_process([&] {
            if (!is_started()) return 2;
            arm(Fault::StopBefore, position);
            const int result = make(a, device);
            return is_expected(a, result) ? 0 : 1;
        });
        int status = 0;
        EXPECT_EQ(waitpid(stopped, &status, WUNTRACED), stopped);
        if (!WIFSTOPPED(status)) {
            EXPECT_EQ(status, 0) << name_of(a);
            return false;
        }
        const std::string when =
            std::string(name_of(a)) + " stopped at " + std::to_string(position) + ", " + name_of(b) + " in between";
        const bool is_b_to_wait = control->is_writing_group;
        if (is_b_to_wait) {
            EXPECT_EQ(run_process([&] { return start_and([&] { return make_and_tell(Call::Read, device); }); }), 0)
                << when << ": a reader";
            kill(stopped, SIGCONT);
        }
        EXPECT_EQ(run_process([&] { return start_and([&] { return make_and_tell(b, device); }); }), 0) << when;
        if (!is_b_to_wait) kill(stopped, SIGCONT);
        EXPECT_EQ(end_of(stopped), 0) << when;
        check(when);
        return true;
    }
};

TEST_F(Stop, AnotherWritesInBetweenAndNothingIsMixed) {
    int pairs = 0;
    std::vector<Call> stopped(std::begin(WRITERS), std::end(WRITERS));
    stopped.push_back(Call::Read);
    for (const Call a : stopped) {
        for (const Call b : WRITERS) {
            const char *state = a == Call::Remove || b == Call::Remove ? "DOWN" : "UP";
            // All positions have their turn, with one pair or another.
            const int offset = static_cast<int>(a) + static_cast<int>(b);
            for (int position = 1 + (scale() > 1 ? 0 : offset % 6);; position = next_position(position, 6)) {
                empty_store();
                // A creation, where the report is of a device that is not there.
                fill(a == Call::Signature && b == Call::Signature ? 1 : 2, state);
                if (!run_pair(a, b, 1, position)) break;
                ++pairs;
            }
        }
    }
    printf("%d pairs of calls and positions\n", pairs);
    EXPECT_GT(pairs, 49);
}

// 0 when the device has its row, 1 when the table is full.
int claim(int device) {
    const int result = make(Call::Signature, device);
    return result == SARN_OK ? 0 : result == SARN_ERR_NO_ROW ? 1 : 100;
}

TEST_F(Stop, TheLastRowIsClaimedTwice) {
    constexpr int DEVICE = 300;
    for (const int rival : {DEVICE + 1, DEVICE}) {
        int position = 1;
        for (;; ++position) {
            empty_store();
            fill(255);
            const pid_t stopped = start_process([&] {
                if (!is_started()) return 100;
                arm(Fault::StopBefore, position);
                return claim(DEVICE);
            });
            int status = 0;
            EXPECT_EQ(waitpid(stopped, &status, WUNTRACED), stopped);
            if (!WIFSTOPPED(status)) {
                EXPECT_EQ(status, 0);
                break;
            }
            if (control->is_writing_group) kill(stopped, SIGCONT);
            const int other = run_process([&] { return start_and([&] { return claim(rival); }); });
            kill(stopped, SIGCONT);
            EXPECT_EQ(other + end_of(stopped), rival == DEVICE ? 0 : 1) << rival << ", at " << position;
            EXPECT_EQ(check("last row, at " + std::to_string(position)), 256);
        }
        printf("%d positions\n", position - 1);
        EXPECT_GT(position, 1);
    }
}
