// How the layer says what went wrong: one line in the log for each refused opening, one for each kind of failure of
// the open store, and nothing while it lasts.
#ifndef KORA_REPORT_H
#define KORA_REPORT_H

#include <stdint.h>

#include <atomic>

namespace kora {

// What every operation answers. The header promises no more than zero and non-zero.
enum Result : int32_t {
    DONE = 0,
    REFUSED = -1,  // the arguments
    FAILED = -2    // the store
};

// Why something is not done, and what was met on the way and is told either way. Kept until no lock is held: the host's
// logger is code of its own.
struct Refusal {
    static constexpr int NOTE_MAX = 4;
    char text[512] = "";
    char notes[NOTE_MAX][512] = {};
    int note_count = 0;
};

// Returns false, for `return refuse(...)`.
[[gnu::format(printf, 2, 3)]] bool refuse(Refusal &out_why, const char *format, ...);

[[gnu::format(printf, 2, 3)]] void note(Refusal &out_why, const char *format, ...);

// Nothing when there is neither.
void log_refusal(const Refusal &why);

// One for reading and one for writing, since each may go on while the other fails.
struct Trouble {
    const char *what;
    std::atomic<int> code{0};
};

// Logs a store error when it is another than the last one, and forgets it at the next success.
Result report(Trouble &trouble, int error);

}  // namespace kora

#endif
