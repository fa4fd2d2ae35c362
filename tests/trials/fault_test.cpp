// The n-th store operation or allocation fails, for every n and every call, on the real store.
#include <algorithm>
#include <functional>

#include "tests/trials/trial.h"

using namespace trial;

namespace {

// Faults off, the same call again must do what it would have done; and a device that has a row keeps that one. What the
// device has then is the same wherever the call failed, and so as if it had not: a refused write looks like any other.
int retry(Call call, int device) {
    disarm();
    if (!is_expected_alone(call, make(call, device))) return 1;
    device_info record = {};
    const int read = get_device_info_by_mac(&record, mac_of(device).c_str());
    if (read != (call == Call::Remove ? SARN_ERR_UNKNOWN_DEVICE : SARN_OK)) return 2;
    std::ranges::fill(record.Timestamp, 0);
    const auto left = std::hash<std::string_view>()({reinterpret_cast<const char *>(&record), sizeof record});
    const size_t before = control->left.exchange(left);
    return before == 0 || before == left ? 0 : 3;
}

// What a call may answer when its store fails it, besides what it may answer anyway.
bool is_documented(int result) {
    for (const int code :
         {SARN_OK, SARN_STORE_FAILED, SARN_ERR_UNREADABLE, SARN_ERR_UNKNOWN_DEVICE, SARN_ERR_ROW_LOST_DEVICE,
          SARN_ERR_NO_ROW, SARN_ERR_THREAD, SARN_ERR_INTERNET_DOWN, SARN_ERR_ACL_READ, SARN_ERR_NOTHING_CHANGED}) {
        if (result == code) return true;
    }
    return false;
}

}  // namespace

class FaultOnStore : public TrialTest {};

TEST_F(FaultOnStore, EachOperationFailsOnceOrEverAfter) {
    for (const Fault fault : {Fault::FailOnce, Fault::FailEver}) {
        for (int c = 0; c < static_cast<int>(Call::Count); ++c) {
            const auto call = static_cast<Call>(c);
            int position = 1;
            control->left = 0;
            for (;; position += scale() > 1 || position < 40 ? 1 : 60) {
                empty_store();
                fill(3, call == Call::Remove ? "DOWN" : "UP");
                control->has_fired = false;
                const std::string when = std::string(name_of(call)) + " failing at " + std::to_string(position);
                EXPECT_EQ(run_process([&] {
                              if (!is_started()) return 10;
                              arm(fault, position);
                              const int result = make(call, 1);
                              return is_documented(result) ? retry(call, 1) : 11;
                          }),
                          0)
                    << when;
                check(when);
                if (!control->has_fired) break;
            }
            printf("%s: %d positions\n", name_of(call), position - 1);
            EXPECT_GT(position, 1) << name_of(call);
        }
    }
}

TEST_F(FaultOnStore, ACreationThatCannotReadGivesNoSecondRow) {
    for (int position = 1;; position += scale() > 1 ? 1 : 2) {
        empty_store();
        fill(3);
        control->has_fired = false;
        EXPECT_EQ(run_process([&] {
                      if (!is_started()) return 10;
                      arm(Fault::FailEver, position);
                      (void)make(Call::Signature, 7);
                      (void)make(Call::Signature, 1);
                      disarm();
                      return make(Call::Signature, 7) + make(Call::Signature, 1);
                  }),
                  0)
            << position;
        EXPECT_EQ(check("creation failing at " + std::to_string(position)), 4);
        if (!control->has_fired) break;
    }
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
class Allocation : public TrialTest {
protected:
    // How many allocations there are to fail.
    int run(const char *name, const char *state, bool is_ever, const std::function<int(int)> &in_process) {
        control->left = 0;
        for (int n = 1;; ++n) {
            empty_store();
            fill(3, state);
            control->has_fired = false;
            control->fail_later_allocations = is_ever;
            EXPECT_EQ(run_process([&] { return in_process(n); }), 0) << name << ", allocation " << n;
            check(name);
            if (!control->has_fired) return n - 1;
        }
    }
    static void arm_allocation(int n) {
        arm(Fault::None, 0);
        control->allocation_to_fail = n;
    }
};

TEST_F(Allocation, EachOneFailsOnceOrEverAfter) {
    for (const bool is_ever : {false, true}) {
        const auto start = [](int n) {
            arm_allocation(n);
            const int result = sarn_init();
            disarm();
            if (result != SARN_OK && result != SARN_ERR_STORE_OPEN) return 11;
            if (result == SARN_ERR_STORE_OPEN && sarn_init() != SARN_OK) return 12;
            return make(Call::Read, 1);
        };
        const int at_start = run("start", "UP", is_ever, start);
        printf("start: %d allocations\n", at_start);
        EXPECT_GT(at_start, 5);
        for (int c = 0; c < static_cast<int>(Call::Count); ++c) {
            const auto call = static_cast<Call>(c);
            const int count = run(name_of(call), call == Call::Remove ? "DOWN" : "UP", is_ever, [&](int n) {
                if (!is_started()) return 10;
                arm_allocation(n);
                const int result = make(call, 1);
                return is_documented(result) ? retry(call, 1) : 11;
            });
            printf("%s: %d allocations\n", name_of(call), count);
            EXPECT_TRUE(count > 0 || (call != Call::Address && call != Call::Type)) << name_of(call);
        }
    }
}
#endif
