// One subject under Google Benchmark: each call is timed by itself, so that its median and its slow end are known.
#ifndef SARN_BENCH_MEASURE_H
#define SARN_BENCH_MEASURE_H

#include <benchmark/benchmark.h>

#include <functional>
#include <string>

namespace bench {

inline constexpr int SIZES[] = {10, 64, 128, 256};

// "subject/task/devices", as the tables and plots take it apart.
std::string benchmark_name(const std::string &subject, const std::string &task, int devices);

void register_benchmark(const std::string &name, int64_t calls, std::function<void(benchmark::State &)> body);

// Runs `call` as often as the benchmark asks, and before each `prepare` with a count of turns, which is not measured:
// it makes what the call is given. Between batches of calls, a twentieth of them or at least ten, as many threads are
// created and joined and timed too, so that what else the machine does weighs on both. Reports p50 and p99 in
// nanoseconds, the thread's p50, and as the multiple the median of those of the batches.
void measure(benchmark::State &state, const std::function<void(int64_t)> &prepare, const std::function<void()> &call);

// From now on what is measured is the processor time of this process instead of the time that passes: the same on one
// CPU, and what other processes do there does not disturb it. Not for calls that others answer.
void count_processor_time();

// The ten calls of this library at each size, `calls` times each, and one thread's creation and join beside them.
void register_library(int64_t calls);

int run_benchmarks(int argc, char **argv);

}  // namespace bench

#endif
