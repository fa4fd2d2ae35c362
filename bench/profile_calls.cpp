// One call again and again, for callgrind and perf: profile_calls CALL DEVICES TURNS
// Under callgrind (--instr-atstart=no) the call alone is counted; what prepares it is not.
#include <valgrind/callgrind.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "bench/device.h"
#include "bench/library_calls.h"

namespace {
constexpr int WARM_UP = 10;
}

int main(int argc, char **argv) {
    using namespace bench;
    require(argc == 4, "profile_calls CALL DEVICES TURNS");
    const auto subject = std::ranges::find(LIBRARY_CALLS, std::string_view(argv[1]), &LibraryCall::name);
    require(subject != LIBRARY_CALLS.end(), "finding that call");
    const int devices = std::atoi(argv[2]);
    const Router router(devices);
    const int turns = WARM_UP + std::atoi(argv[3]);
    for (int turn = 0; turn < turns; ++turn) {
        if (subject->prepare != nullptr) subject->prepare(devices, turn);
        if (turn < WARM_UP) {
            subject->call();
            continue;
        }
        CALLGRIND_START_INSTRUMENTATION;
        subject->call();
        CALLGRIND_STOP_INSTRUMENTATION;
    }
    return EXIT_SUCCESS;
}
