#include "bench/measure.h"

#include <time.h>

#include <algorithm>
#include <vector>

#include "bench/by_hand.h"
#include "bench/library_calls.h"
#include "bench/percentile.h"

namespace bench {

namespace {

constexpr int64_t WARM_UP_CALLS = 20;
constexpr int64_t THREADS = 5000;
constexpr int64_t BATCHES = 20;
constexpr int64_t SMALLEST_BATCH = 10;

clockid_t measured_clock = CLOCK_MONOTONIC;

int64_t now_ns() {
    timespec now;
    clock_gettime(measured_clock, &now);
    return now.tv_sec * 1'000'000'000LL + now.tv_nsec;
}

int64_t time_of(const std::function<void()> &call) {
    const int64_t begin = now_ns();
    call();
    return now_ns() - begin;
}

// Some calls and as many threads, one after the other, so that what else the machine does weighs on both.
struct Batch {
    std::vector<int64_t> calls, threads;

    void time_threads() {
        for (int64_t i = 0; i < WARM_UP_CALLS; ++i) create_and_join();
        while (threads.size() < calls.size()) threads.push_back(time_of(create_and_join));
    }
};

struct Samples {
    std::vector<int64_t> calls, threads;
    std::vector<double> multiples;  // of each batch

    void take(Batch &batch) {
        calls.insert(calls.end(), batch.calls.begin(), batch.calls.end());
        threads.insert(threads.end(), batch.threads.begin(), batch.threads.end());
        const auto call = static_cast<double>(percentile(batch.calls, 50));
        multiples.push_back(call / static_cast<double>(percentile(batch.threads, 50)));
        batch = Batch{};
    }
};

}  // namespace

std::string benchmark_name(const std::string &subject, const std::string &task, int devices) {
    return subject + "/" + task + "/" + std::to_string(devices);
}

void register_benchmark(const std::string &name, int64_t calls, std::function<void(benchmark::State &)> body) {
    benchmark::RegisterBenchmark(name.c_str(), std::move(body))
        ->Iterations(calls)
        ->UseManualTime()
        ->Unit(benchmark::kNanosecond);
}

void measure(benchmark::State &state, const std::function<void(int64_t)> &prepare, const std::function<void()> &call) {
    const auto batch_size = static_cast<size_t>(std::max<int64_t>(state.max_iterations / BATCHES, SMALLEST_BATCH));
    Batch batch;
    Samples samples;
    int64_t turn = 0;
    const auto run_once = [&] {
        if (prepare) prepare(turn);
        ++turn;
        return time_of(call);
    };
    while (turn < WARM_UP_CALLS) (void)run_once();
    for (auto _ : state) {
        batch.calls.push_back(run_once());
        state.SetIterationTime(static_cast<double>(batch.calls.back()) * 1e-9);
        if (batch.calls.size() < batch_size) continue;
        batch.time_threads();
        samples.take(batch);
    }
    state.counters["multiple"] = percentile(samples.multiples, 50);
    state.counters["p50"] = static_cast<double>(percentile(samples.calls, 50));
    state.counters["p99"] = static_cast<double>(percentile(samples.calls, 99));
    state.counters["thread"] = static_cast<double>(percentile(samples.threads, 50));
}

void count_processor_time() { measured_clock = CLOCK_PROCESS_CPUTIME_ID; }

void register_library(int64_t calls) {
    register_benchmark("floor/thread/0", THREADS, [](benchmark::State &state) { measure(state, {}, create_and_join); });
    for (const LibraryCall &subject : LIBRARY_CALLS) {
        for (const int devices : SIZES) {
            register_benchmark(benchmark_name("library", subject.name, devices), calls,
                               [&subject, devices](benchmark::State &state) {
                                   const Router router(devices);
                                   std::function<void(int64_t)> prepare;
                                   if (subject.prepare != nullptr) {
                                       prepare = [&](int64_t turn) { subject.prepare(devices, turn); };
                                   }
                                   measure(state, prepare, subject.call);
                               });
        }
    }
}

int run_benchmarks(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return EXIT_FAILURE;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return EXIT_SUCCESS;
}

}  // namespace bench
