// The ten calls on the store that this program is linked with, beside one thread's creation and join.
#include "bench/measure.h"

int main(int argc, char **argv) {
    constexpr int64_t CALLS = 30;  // some take milliseconds where a lever is missing
    bench::count_processor_time();
    bench::register_library(CALLS);
    return bench::run_benchmarks(argc, argv);
}
