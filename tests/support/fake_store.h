// A store in memory in place of the router's, and a logger: it keeps a journal of what the library asked and logged,
// and fails where a test wants it to.
#ifndef SARN_TESTS_FAKE_STORE_H
#define SARN_TESTS_FAKE_STORE_H

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace fake {

// Empties store and journal and takes away faults and hooks.
void reset();

std::string get(const std::string &table, int row, const std::string &field);
void set(const std::string &table, int row, const std::string &field, const std::string &value);

// Lines such as "set_enum Sarnsignature 3 Devicestate UP", "get_mac Sarnsignature 3 DeviceMAC" and "log 4 SARN:...".
// Only writes and log lines are kept. Taking the journal empties it.
std::vector<std::string> take_journal();

// Operations seen since the reset, reads included; the operation with this number fails, and if `forever` all after it.
int operations();
void fail_at(int operation, bool forever);
bool has_fault_fired();
// Every operation on this field fails, or works again.
void fail_field(const std::string &table, int row, const std::string &field, bool fail = true);
void fail_open(bool fail);
int open_handles();

// Called before each operation, without any lock, with its journal line.
void on_operation(std::function<void(const std::string &)> hook);

// Groups, for processes whose store offers them (fake_groups.cpp). A group that fails to begin or end counts as an
// operation; the hook sees "begin reading", "begin writing" and "end".
int32_t begin_group(bool is_writing);
int32_t end_group(bool is_kept);
// What a group must not meet: a log line, a group inside it, a write in a reading one.
int group_violations();
// The number that moves with every change of what a rebuild reads; `offer_changes(false)` makes it unknown.
int32_t change_number(uint64_t *number);
void offer_changes(bool offer);

// From now on thread creation fails, or works again.
void fail_threads(bool fail);

}  // namespace fake

#endif
