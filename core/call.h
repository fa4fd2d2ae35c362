// The calling convention of the operations that work on a thread of their own.
//
// The public call makes a request on its stack, passes the gate (but a removal, whose worker does), and hands the
// request to run_worker with its handler. The handler is nothing but finish_worker around the operation's work, an
// ordinary function that returns its status. The exported result cell is shared by all calls, so each call's own status
// travels through a node on its caller's stack, which the handler finds by the address of its request. A handler that a
// host starts by itself finds none and writes the cell alone.
#ifndef SARN_CORE_CALL_H
#define SARN_CORE_CALL_H

#include <stdint.h>

#include <type_traits>

#include "core/state.h"

namespace sarn {

struct WorkerResult {
    int32_t error;   // what pthread_create returned; 0 when the worker ran
    int32_t status;  // the worker's own; SARN_ERR_THREAD when there was none
};

// Creates the worker, waits for its end and returns its status. No lock may be held but the one that a store function
// was called under.
WorkerResult run_worker(void *(*handler)(void *), const void *request);

// Leaves the worker's status for its call and in the cell.
void leave_status(const void *request, int32_t &cell, int32_t status);

// glibc loads the unwinder when the first worker ends, and ends the process where it cannot: after a chroot, or with no
// descriptor or memory left. So it is loaded before anything else is done; takes the loader's lock, so with none held.
void load_unwinder();

// After a fork, in the child: the calls that were running are the parent's.
void forget_calls();

// pthread_exit unwinds the stack frame by frame, the dearest part of a call that is ours. Declared here without
// noreturn, it is reached by a tail call, so the handler's own frame is already gone.
extern "C" void *end_thread(void *result) __asm__("pthread_exit");

// All of a handler, and the only caller of pthread_exit: that runs no destructors here, so nothing that needs one may
// be alive.
template <typename Request>
void *finish_worker(void *argument, int32_t &cell, int32_t (*work)(Request &)) {
    static_assert(std::is_trivially_destructible_v<Request>);
    state_lock.borrow(argument);  // where the caller holds it the worker goes on under it
    const int32_t status = work(*static_cast<Request *>(argument));
    state_lock.give_back();
    leave_status(argument, cell, status);
    return end_thread(&cell);
}

}  // namespace sarn

#endif
