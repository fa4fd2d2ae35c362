// A store in memory in place of the router's, and a logger: it keeps what the library wrote and logged, and fails where
// a test wants it to. What stands here is for the test's thread while no call runs, and for hooks.
#ifndef SARN_TESTS_FAKE_STORE_H
#define SARN_TESTS_FAKE_STORE_H

#include <cstdint>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

namespace fake {

// Empties the store and takes away faults and hooks.
void reset();

std::string get(const std::string &table, int row, const std::string &field);
void set(const std::string &table, int row, const std::string &field, const std::string &value);

// What was asked to be written, as "Sarnsignature 3 Devicestate UP", and logged, as "4 SARN:...". Taking it empties it.
std::vector<std::string> take_writes();
std::vector<std::string> take_log();

// For a test to change and to look at while no call runs.
struct Controls {
    int fail_at = 0;  // the operation with this number fails, and if `fail_forever` all after it
    bool fail_forever = false, fail_open = false;
    bool offer_changes = true;  // the number that moves with every change of what a rebuild reads
    // The clock's seconds, which stand still: one that ends amid a call means other operations.
    time_t now = 1'800'000'000;
    int operations = 0;  // reads, writes, begins and ends of groups
    int handles = 0;
    int violations = 0;  // what a group must not meet: a log line, a group inside it, a write in a reading one
};
extern Controls controls;

// Every operation on this field fails, or works again.
void fail_field(const std::string &table, int row, const std::string &field, bool fail = true);

// Called before each operation, without any lock, with "get Sarnsignature 3 DeviceMAC", "set " and what is written,
// "begin reading" or "begin writing".
void on_operation(std::function<void(const std::string &)> hook);

// For processes whose store offers groups (fake_groups.cpp).
int32_t begin_group(bool is_writing);
int32_t end_group(bool is_kept);
int32_t change_number(uint64_t *number);

// From now on thread creation fails, or works again.
void fail_threads(bool fail);

// From now on a thread that is created without attributes cannot be joined, or can again.
void detach_threads(bool detach);

}  // namespace fake

#endif
