// Trials of the whole library on the real store, with several processes. Every store operation of this program passes
// kora_faults.cpp, which can kill or stop the process at the n-th one, or make it fail, or the n-th allocation.
#ifndef SARN_TESTS_TRIAL_H
#define SARN_TESTS_TRIAL_H

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <string_view>
#include <vector>

#include "tests/support/operations.h"
#include "tests/support/own_store.h"
#include "tests/support/process.h"

// The sanitizers have allocators of their own.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define HAS_OTHER_ALLOCATOR
#endif

namespace trial {

enum class Fault { None, Kill, Stop, FailOnce, FailEver, NoMemoryOnce, NoMemoryEver };
inline constexpr const char *FAULTS[] = {"none",       "killed",         "stopped",       "fails once",
                                         "fails ever", "no memory once", "no memory ever"};

// Shared by all processes of a trial.
struct Control {
    std::atomic<bool> has_fired{false};
    std::atomic<bool> is_writing_group{false};  // of the process with the armed fault
    std::atomic<size_t> left{0};                // a hash of what the last process left, 0 before there is one
    std::atomic<int> devices{0};                // that the last check found
    std::atomic<bool> allows_doubles{false};    // of checks: two rows of one device
    std::atomic<long> calls{0};
    std::atomic<long> failures{0};
    std::atomic<bool> is_over{false};
};
extern Control *control;

// The calling process' operations or allocations count from here, and meet the fault at this one.
void arm(Fault fault, int position);
void disarm();

// 1 for the short form of a trial; scripts/endure asks for more.
int scale();
uint32_t seed();  // printed, and SARN_SEED repeats it

// A call about one device, which its MAC names.
struct Call : Operation {
    bool is(std::string_view text) const { return text == name; }
    int make(int device) const { return call(mac_of(device).c_str(), 0); }
    bool allows(int result) const { return result == SARN_OK || result == without_row || result == beside_others; }
    // The same while nobody else writes, of a device that has its row; also when the call is made again.
    bool allows_alone(int result) const {
        return result == SARN_OK || (is("remove") && result == SARN_ERR_NO_ROW) ||
               ((is("block") || is("refresh")) && allows(result));
    }
};
extern const std::vector<Call> CALLS;
const Call &call(std::string_view name);
// Starts the library, and lets it know the rows: most positions after that are those of the writes.
bool start_library();

// Each test has a store of its own, on a tmpfs. The test's own process never opens it: its children do.
class TrialTest : public testing::Test, protected OwnStore {
protected:
    TrialTest();
    // A store with devices 0 to count - 1.
    void prepare(int count, const char *state = "UP");
    // Fails the test, with `when`, unless each MAC has one row, each row one device's texts alone and a report whole,
    // and each free row its reset values; looked at past the library. Returns the number of devices.
    int check(const std::string &when);
};

}  // namespace trial

#endif
