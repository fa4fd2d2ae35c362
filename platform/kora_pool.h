// Read transactions, kept and renewed for each operation. Between operations none is open: an open one keeps the pages
// that writers replace, until the map is full of them. They belong to the process and not to a thread, and are given
// out one at a time.
#ifndef KORA_POOL_H
#define KORA_POOL_H

#include <atomic>

#include "kora_environment.h"
#include "kora_walk.h"

namespace kora {

// Apart in memory: two threads that read at once write to their own.
struct alignas(64) Reader {
    std::atomic<bool> is_taken{false};
    Walk walk;  // its transaction is reset between operations, and null before the first
};

// Waits while all are taken; nobody keeps one for longer than an operation or a group takes. Who opens or
// closes the environment takes them all, so it lasts as long as a reader is held.
Reader &take_reader();
// With `writing` held, for the one group that may have it.
Reader &take_writers_reader();
void give_reader(Reader &reader);

// Opens the reader's snapshot of the store as it is now; an error when there is none to be had.
int begin_snapshot(Environment &environment, Reader &reader);
void end_snapshot(Reader &reader);

// Every reader, with its transaction ended: while they are held nobody uses the environment but for a writer. Without
// `is_waiting` none is held where somebody keeps one for longer than an operation takes.
class AllReaders {
public:
    explicit AllReaders(bool is_waiting);
    ~AllReaders();
    AllReaders(const AllReaders &) = delete;
    AllReaders &operator=(const AllReaders &) = delete;
    bool are_held() const { return are_held_; }

private:
    bool are_held_;
};

// After fork, in the child: the transactions are the parent's.
void forget_all_readers();

}  // namespace kora

#endif
