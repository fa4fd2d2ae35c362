// The calls of this library that are measured, on a store of their own.
#ifndef SARN_BENCH_LIBRARY_CALLS_H
#define SARN_BENCH_LIBRARY_CALLS_H

#include <array>
#include <cstdint>

namespace bench {

// A store on a tmpfs with `devices` devices, open until the object ends.
class Router {
public:
    explicit Router(int devices);
    ~Router();
    Router(const Router &) = delete;
    Router &operator=(const Router &) = delete;
};

struct LibraryCall {
    const char *name;
    // Makes what the call is given, and brings the store to where the call finds something to do; not measured. `turn`
    // counts up; what is to be new is made from it. Null: there is nothing to make.
    void (*prepare)(int devices, int64_t turn);
    void (*call)();
};

// Ends the program with a line when the call is refused: what is measured is done.
extern const std::array<LibraryCall, 10> LIBRARY_CALLS;

// A report of a device; `turn` makes every text new.
void report_signature(int device, int64_t turn);

}  // namespace bench

#endif
