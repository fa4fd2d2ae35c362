// One process is killed or stopped at its n-th store operation, or this operation or the n-th allocation fails, for
// every n of every call; and others come after it or in between.
#include <functional>
#include <set>

#include "platform/kora.h"
#include "tests/trials/trial.h"

using namespace trial;

namespace {

struct Case {
    const char *name;
    Call call;
    int device;
    int devices;        // in the store before
    const char *state;  // of those
    int devices_after;
    bool is_crowded = false;   // and some rows are freed, or not, where a kill came before
    bool has_doubles = false;  // what no process of this library leaves, but an older store may hold
};

std::vector<Case> all_cases() {
    const auto start = [](Mac, int) {
        const int result = sarn_init();
        return result == SARN_ERR_ALREADY_INITIALISED ? int{SARN_OK} : result;
    };
    std::vector<Case> cases = {
        {"start", {{"start", start}}, 1, 3, "UP", 3},
        {"start with doubles", {{"start", start}}, 2, 3, "UP", 3, false, true},
        {"creation", call("signature"), 7, 3, "UP", 4},
        {"clean-up", call("signature"), 200, 179, "DOWN", 170, true},
    };
    for (const Call &each : CALLS) {
        const bool removes = each.is("remove");
        cases.push_back({each.name, each, 1, 3, removes ? "DOWN" : "UP", removes ? 2 : 3});
    }
    return cases;
}

// What a call may answer when its store or its memory fails it.
const std::set<int> DOCUMENTED = {
    SARN_OK,           SARN_ERR_UNREADABLE,    SARN_ERR_UNKNOWN_DEVICE,  SARN_ERR_ROW_LOST_DEVICE,
    SARN_ERR_NO_ROW,   SARN_ERR_THREAD,        SARN_ERR_NOTHING_CHANGED, SARN_ERR_STORE_OPEN,
    SARN_ERR_ACL_READ, SARN_ERR_INTERNET_DOWN, SARN_STORE_FAILED};

// What the device has then is the same wherever the call failed, and so as if it had not: a refused write looks like
// any other.
bool is_left_the_same(const Case &c) {
    device_info record = {};
    const int read = get_device_info_by_mac(&record, mac_of(c.device).c_str());
    if (read != (c.call.is("remove") ? SARN_ERR_UNKNOWN_DEVICE : SARN_OK)) return false;
    std::ranges::fill(record.Timestamp, 0);
    const auto left = std::hash<std::string_view>()({reinterpret_cast<const char *>(&record), sizeof record});
    const size_t before = control->left.exchange(left);
    return before == 0 || before == left;
}

// Makes the call under the fault, and again without it.
int attempt(const Case &c, Fault fault, int position) {
    return run_process([&] {
        if (!c.call.is("start") && !start_library()) return 10;
        arm(fault, position);
        const int result = c.call.make(c.device);
        disarm();
        if (!DOCUMENTED.contains(result)) return 11;
        if (!c.call.allows_alone(c.call.make(c.device))) return 12;
        return is_left_the_same(c) ? 0 : 13;
    });
}

// In the short form every `stride`-th, and fewer far behind, where a rebuild reads all rows.
int next_position(int position, int stride) { return position + (scale() > 1 ? 1 : position < 40 ? stride : 60); }

// Of device 1, for the first start of all.
int make_doubles() {
    void *handle = kora_init_ex(nullptr);
    const uint8_t mac[6] = {2, 0, 0, 0, 0, 1};
    int failed = kora_set_enum(handle, "sarngeneral", 0, "MappingComplete", "init");
    for (const char *table : {"DeviceIdList", "Sarnsignature", "ConnectDeviceinfo"}) {
        for (const int32_t row : {40, 90}) failed += kora_set_mac(handle, table, row, "DeviceMAC", mac);
    }
    return failed + kora_destroy(handle);
}

class FaultTest : public TrialTest {
protected:
    // How many positions there are.
    int meet_everywhere(const Case &c, Fault fault) {
        control->left = 0;
        for (int position = 1;; position = next_position(position, c.is_crowded ? 7 : 1)) {
            prepare(c.devices, c.state);
            EXPECT_EQ(c.has_doubles ? run_process(make_doubles) : 0, 0);
            const std::string when = std::string(c.name) + " at " + std::to_string(position);
            const int end = attempt(c, fault, position);
            const bool has_fired = control->has_fired;
            control->allows_doubles = c.has_doubles && has_fired;
            EXPECT_EQ(end, has_fired && fault == Fault::Kill ? KILLED : 0) << when;
            if (end == KILLED) {
                check(when);
                const int next = attempt(c, Fault::Kill, 1 + 7 * position % 30);
                EXPECT_TRUE(next == KILLED || next == 0) << when << ": the next ended with " << next;
                check(when + ", and the next");
                EXPECT_EQ(attempt(c, Fault::None, 0), 0) << when;
            }
            const int left = check(when + ", at the end");
            EXPECT_TRUE(left == c.devices_after || (c.is_crowded && left > c.devices_after)) << when << ": " << left;
            if (has_fired) continue;
            printf("%s, %s: %d positions\n", c.name, FAULTS[static_cast<int>(fault)], position - 1);
            return position - 1;
        }
    }
};

class Kill : public FaultTest {};
class FaultOnStore : public FaultTest {};
class Allocation : public FaultTest {};

TEST_F(Kill, AtEachOperationLeavesRowsOldOrNew) {
    for (const Case &c : all_cases()) {
        EXPECT_GT(meet_everywhere(c, Fault::Kill), 0) << c.name;
    }
}

TEST_F(FaultOnStore, EachOperationFailsOnceOrEverAfter) {
    for (const Case &c : all_cases()) {
        for (const Fault fault : {Fault::FailOnce, Fault::FailEver}) EXPECT_GT(meet_everywhere(c, fault), 0) << c.name;
    }
}

#ifndef HAS_OTHER_ALLOCATOR
TEST_F(Allocation, EachOneFailsOnceOrEverAfter) {
    for (const Case &c : all_cases()) {
        const int least = c.call.is("start") ? 6 : c.call.is("type") || c.call.is("address of a row");
        for (const Fault fault : {Fault::NoMemoryOnce, Fault::NoMemoryEver})
            EXPECT_GE(meet_everywhere(c, fault), least) << c.name;
    }
}
#endif

class Stop : public TrialTest {
protected:
    bool is_crowded = false;

    // A process is stopped at this position of its call, another makes its whole call for `rival`, the first goes on.
    // How many of the two calls were refused; -1 when the first never got there.
    int run_pair(const Call &a, const Call &b, int device, int rival, int position) {
        const auto make_and_tell = [](const Call &each, int n) {
            const int result = each.make(n);
            return result == SARN_OK ? 0 : each.allows(result) ? 1 : 100;
        };
        const auto run = [&](const Call &each, int n) {
            return run_process([&] { return sarn_init() == SARN_OK ? make_and_tell(each, n) : 100; });
        };
        const pid_t stopped = start_process([&] {
            if (!start_library()) return 100;
            arm(Fault::Stop, position);
            return make_and_tell(a, device);
        });
        int status = 0;
        EXPECT_EQ(waitpid(stopped, &status, WUNTRACED), stopped);
        const std::string when = std::string(a.name) + " stopped at " + std::to_string(position) + ", " + b.name;
        EXPECT_TRUE(WIFSTOPPED(status) || WEXITSTATUS(status) <= 1) << when << ": " << status;
        if (!WIFSTOPPED(status)) return -1;
        // A writer waits for a writer, a reader does not; but in a crowded table it frees rows.
        if (control->is_writing_group) {
            EXPECT_LE(is_crowded ? 0 : run(call("read"), device), 1) << when << ": a reader";
            kill(stopped, SIGCONT);
        }
        const int other = run(b, rival);
        kill(stopped, SIGCONT);
        const int refused = other + end_of(stopped);
        EXPECT_TRUE(refused >= 0 && refused <= 2) << when << ": " << refused;
        return refused;
    }
};

TEST_F(Stop, AnotherWritesInBetweenAndNothingIsMixed) {
    const std::set<std::string_view> one_of_a_kind = {"signature", "connection", "detail", "field",
                                                      "name",      "block",      "remove", "read"};
    int pairs = 0;
    for (const Call &a : CALLS) {
        for (const Call &b : CALLS) {
            if (scale() == 1 && !(one_of_a_kind.contains(a.name) && one_of_a_kind.contains(b.name))) continue;
            const bool removes = a.is("remove") || b.is("remove");
            const bool creates = a.is("signature") && b.is("signature");
            // All positions have their turn, with one pair or another.
            for (int position = 1 + (scale() > 1 ? 0 : pairs % 6);; position = next_position(position, 6), ++pairs) {
                prepare(creates ? 1 : 2, removes ? "DOWN" : "UP");
                if (run_pair(a, b, 1, 1, position) < 0) break;
                check(std::string(a.name) + " stopped at " + std::to_string(position) + ", " + b.name);
            }
        }
    }
    printf("%d pairs of calls and positions\n", pairs);
    EXPECT_GT(pairs, 49);
}

TEST_F(Stop, TheLastRowIsClaimedTwice) {
    const Call &report = call("signature");
    is_crowded = true;
    for (const int rival : {300, 301}) {
        int position = 0;
        for (int refused = 0; refused >= 0;) {
            prepare(255);
            refused = run_pair(report, report, 300, rival, ++position);
            EXPECT_TRUE(refused < 0 || refused == (rival != 300)) << position << ", " << rival << ": " << refused;
            EXPECT_EQ(check("the last row"), 256) << position;
        }
        EXPECT_GT(position, 1);
    }
}

}  // namespace
