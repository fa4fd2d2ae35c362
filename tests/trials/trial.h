// Trials of the whole library on the real store, with several processes. Every store operation of this program passes
// kora_faults.cpp, which can kill or stop the process at the n-th one, or make it fail.
#ifndef SARN_TESTS_TRIAL_H
#define SARN_TESTS_TRIAL_H

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <random>
#include <string>

#include "include/sarn.h"
#include "tests/support/device.h"
#include "tests/support/process.h"

namespace trial {

enum class Fault { None, KillBefore, KillAfter, StopBefore, FailOnce, FailEver };

// Shared by all processes of a trial.
struct Control {
    std::atomic<int> position{0};  // operations since the fault was armed
    std::atomic<int> armed_at{0};
    std::atomic<Fault> fault{Fault::None};
    std::atomic<bool> has_fired{false};
    std::atomic<bool> is_writing_group{false};  // of the process with the armed fault
    std::atomic<int> allocation_to_fail{0};     // the n-th allocation fails, or each from there on
    std::atomic<bool> fail_later_allocations{false};
    std::atomic<size_t> left{0};  // a hash of what the last process left, 0 before there is one
    std::atomic<long> calls{0};
    std::atomic<long> failures{0};
    std::atomic<bool> is_over{false};
};
extern Control *control;

// The calling process' operations count from here, and meet the fault at this one.
void arm(Fault fault, int position);
void disarm();

// 1 for the short form of a trial; scripts/endure asks for more.
int scale();
uint32_t seed();  // printed, and SARN_SEED repeats it

// Reports and names that carry the device's MAC in every text, so that a row that mixes two devices shows.
signature_record signature_of(int device, const char *state = "UP");
enum class Call {
    Signature,
    Offline,
    Connection,
    Detail,
    Field,
    State,
    Name,
    Type,
    Model,
    Brand,
    Block,
    Remove,
    Read,
    ReadRow,
    Find,
    Address,
    Bitmap,
    Total,
    Access,
    Upgrade,
    Refresh,
    Count
};
inline constexpr Call WRITERS[] = {Call::Signature, Call::Connection, Call::Detail, Call::Field,
                                   Call::Name,      Call::Block,      Call::Remove};
const char *name_of(Call call);
int make(Call call, int device);
// Starts the library, and lets it know the rows: most positions after that are those of the writes.
bool is_started();
// A result that the call may have while others write to the same device.
bool is_expected(Call call, int result);
// The same while nobody else does, of a device that has its row; also when the call is made again.
inline bool is_expected_alone(Call call, int result) {
    return result == SARN_OK || (call == Call::Remove && result == SARN_ERR_NO_ROW) ||
           (call == Call::Block && result == SARN_ERR_NOTHING_CHANGED) ||
           (call == Call::Refresh && result == SARN_ERR_INTERNET_DOWN);
}

// What is wrong with the rows as the store has them, read past the library; empty when each MAC has one row, each row
// one device's texts alone, and each free row its reset values. `devices` gets their number.
std::string fault_of_rows(int *devices = nullptr, bool allows_doubles = false);

// Each test has a store of its own, on a tmpfs. The test's own process never opens it: its children do.
class TrialTest : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;
    void empty_store();
    // Starts the library in a new process, fills it with devices 0 to count - 1, and stops.
    void fill(int count, const char *state = "UP");
    // Fails the test, with `when`, if the rows are not right; returns the number of devices.
    int check(const std::string &when, bool allows_doubles = false);

    std::string folder, path;
};

}  // namespace trial

#endif
