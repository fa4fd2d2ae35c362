// One call again and again, for callgrind and perf: profile_calls CALL DEVICES TURNS
// Under callgrind (--instr-atstart=no) the call alone is counted; what prepares it is not.
#include <valgrind/callgrind.h>

#include <cstdlib>

#include "bench/device.h"
#include "bench/library_calls.h"

int main(int argc, char **argv) {
    using namespace bench;
    require(argc == 4, "profile_calls CALL DEVICES TURNS");
    const LibraryCall *subject = find_library_call(argv[1]);
    require(subject != nullptr, "finding that call");
    const Router router(std::atoi(argv[2]));
    const int turns = std::atoi(argv[3]);
    if (subject->prepare == nullptr) {
        for (int turn = 0; turn < 10; ++turn) subject->call(router.devices(), turn);
        CALLGRIND_START_INSTRUMENTATION;
        for (int turn = 0; turn < turns; ++turn) subject->call(router.devices(), turn + 10);
        CALLGRIND_STOP_INSTRUMENTATION;
        return EXIT_SUCCESS;
    }
    for (int turn = 0; turn < turns; ++turn) {
        subject->prepare(router.devices());
        CALLGRIND_START_INSTRUMENTATION;
        subject->call(router.devices(), turn);
        CALLGRIND_STOP_INSTRUMENTATION;
    }
    return EXIT_SUCCESS;
}
