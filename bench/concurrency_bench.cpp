// Threads and processes beside each other: 80 % records by MAC, 20 % signatures of known devices; records alone; the
// same number of them that create and join a thread that does nothing; each where the kernel puts it and on a CPU that
// it keeps. Where the kernel puts them, also threads that do nothing but spin, and records while another process
// writes. Prints a line of comma-separated medians for each case:
// who,workers,calls per second,record p50,record p99,signature p50,signature p99 (nanoseconds)
#include <sched.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "bench/by_hand.h"
#include "bench/device.h"
#include "bench/library_calls.h"
#include "bench/percentile.h"
#include "include/sarn.h"

namespace {

using namespace bench;

constexpr int DEVICES = 128;
constexpr int ROUNDS = 15;
constexpr int MOST_WORKERS = 4;
constexpr int CPUS_KEPT = 2;
constexpr size_t MOST_SAMPLES = 200'000;  // of one worker in one round
constexpr int64_t SECOND = 1'000'000'000;
constexpr int64_t ROUND_LENGTH = SECOND / 5;
constexpr int64_t BETWEEN_WRITES = SECOND / 1000;
constexpr int SIGNATURE_EVERY = 5;

// Shared with the processes that this one forks.
struct Worker {
    std::atomic<bool> is_ready;
    size_t read_count, signature_count;
    int64_t reads[MOST_SAMPLES], signatures[MOST_SAMPLES];
};
struct Shared {
    std::atomic<bool> is_started;
    std::atomic<bool> is_over;
    Worker workers[MOST_WORKERS];
};
Shared *shared = nullptr;

int64_t now_ns() {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * SECOND + now.tv_nsec;
}

void keep(int64_t (&samples)[MOST_SAMPLES], size_t &count, int64_t began) {
    require(count < MOST_SAMPLES, "room for samples");
    samples[count++] = now_ns() - began;
}

void wait_for_start(Worker &worker) {
    worker.is_ready = true;
    while (!shared->is_started) std::this_thread::yield();
}

// The workers take turns in keeping the first CPUs; what they create stays there too.
void keep_cpu(int number) {
    cpu_set_t allowed, kept;
    require(sched_getaffinity(0, sizeof allowed, &allowed) == 0, "sched_getaffinity");
    const int turn = number % std::min(CPUS_KEPT, CPU_COUNT(&allowed));
    int cpu = -1;
    for (int i = 0; i <= turn; ++i) {
        do ++cpu;
        while (!CPU_ISSET(cpu, &allowed));
    }
    CPU_ZERO(&kept);
    CPU_SET(cpu, &kept);
    require(sched_setaffinity(0, sizeof kept, &kept) == 0, "sched_setaffinity");
}

enum class Task { Calls, Records, NoCalls, BusyThreads };
bool is_without_calls(Task task) { return task == Task::NoCalls || task == Task::BusyThreads; }
enum class Place { Anywhere, OnItsCpu };

void read_record(int device) {
    device_info record;
    require(get_device_info_by_mac(&record, mac_of(device).text) == SARN_OK, "a record by MAC");
}

// What a new process pays once, such as the opening of the store, is none of the calls' cost.
void warm_up(int number, Task task) {
    create_and_join();
    if (is_without_calls(task)) return;
    for (int device = 0; device < DEVICES; ++device) read_record(device);
    if (task == Task::Calls) report_signature(number, -1);
}

// Each worker has devices of its own, as producers mostly do, and reports them with every text new.
void work(int number, Task task, Place place) {
    Worker &worker = shared->workers[number];
    if (place == Place::OnItsCpu) keep_cpu(number);
    worker.read_count = worker.signature_count = 0;
    warm_up(number, task);
    wait_for_start(worker);
    const int64_t end = now_ns() + ROUND_LENGTH;
    int64_t began = now_ns();
    for (int64_t turn = 0; began < end; ++turn, began = now_ns()) {
        if (is_without_calls(task)) {
            task == Task::NoCalls ? create_and_join() : create_busy_and_join();
            keep(worker.reads, worker.read_count, began);
        } else if (task == Task::Calls && turn % SIGNATURE_EVERY == 0) {
            report_signature(number, turn);
            keep(worker.signatures, worker.signature_count, began);
        } else {
            read_record(static_cast<int>(turn % DEVICES));
            keep(worker.reads, worker.read_count, began);
        }
    }
}

// Signatures in even steps of time, until the readers are done.
void write_evenly() {
    int64_t next = now_ns();
    for (int64_t turn = 0; !shared->is_over; ++turn) {
        report_signature(DEVICES - 1, turn);
        next += BETWEEN_WRITES;
        const timespec at = {next / SECOND, next % SECOND};
        clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &at, nullptr);
    }
}

template <typename Body>
pid_t in_process(Body body) {
    const pid_t process = fork();
    require(process >= 0, "fork");
    if (process > 0) return process;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    body();
    _exit(EXIT_SUCCESS);
}

void await(pid_t process) {
    int status = 0;
    waitpid(process, &status, 0);
    require(WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS, "a process");
}

enum class Kind { Threads, Processes, ProcessesBesideWriter };
struct Case {
    const char *who;
    Kind kind;
    Task task;
    Place place;
};
constexpr Case CASES[] = {
    {"threads", Kind::Threads, Task::Calls, Place::Anywhere},
    {"processes", Kind::Processes, Task::Calls, Place::Anywhere},
    {"processes, records alone", Kind::Processes, Task::Records, Place::Anywhere},
    {"threads without calls", Kind::Threads, Task::NoCalls, Place::Anywhere},
    {"processes without calls", Kind::Processes, Task::NoCalls, Place::Anywhere},
    {"threads that are busy without calls", Kind::Threads, Task::BusyThreads, Place::Anywhere},
    {"processes that are busy without calls", Kind::Processes, Task::BusyThreads, Place::Anywhere},
    {"threads that keep their CPU", Kind::Threads, Task::Calls, Place::OnItsCpu},
    {"processes that keep their CPU", Kind::Processes, Task::Calls, Place::OnItsCpu},
    {"processes that keep their CPU, records alone", Kind::Processes, Task::Records, Place::OnItsCpu},
    {"threads that keep their CPU, without calls", Kind::Threads, Task::NoCalls, Place::OnItsCpu},
    {"processes that keep their CPU, without calls", Kind::Processes, Task::NoCalls, Place::OnItsCpu},
    {"processes, records beside 1000 signatures a second", Kind::ProcessesBesideWriter, Task::Records, Place::Anywhere},
};
constexpr size_t CASE_COUNT = std::size(CASES);
constexpr std::array WORKERS = {1, 2, MOST_WORKERS};

void start_when_ready(int workers) {
    for (int i = 0; i < workers; ++i) {
        while (!shared->workers[i].is_ready) std::this_thread::yield();
    }
    shared->is_started = true;
}

void run_threads(const Case &one, int workers) {
    std::vector<std::thread> threads;
    for (int i = 0; i < workers; ++i) threads.emplace_back(work, i, one.task, one.place);
    start_when_ready(workers);
    for (std::thread &thread : threads) thread.join();
}

void run_processes(const Case &one, int workers) {
    std::vector<pid_t> processes;
    for (int i = 0; i < workers; ++i) {
        processes.push_back(in_process([&one, i] { work(i, one.task, one.place); }));
    }
    start_when_ready(workers);
    for (const pid_t process : processes) await(process);
}

void run(const Case &one, int workers) {
    shared->is_started = shared->is_over = false;
    for (Worker &worker : shared->workers) worker.is_ready = false;
    switch (one.kind) {
        case Kind::Threads: return run_threads(one, workers);
        case Kind::Processes: return run_processes(one, workers);
        case Kind::ProcessesBesideWriter:
            const pid_t writer = in_process(write_evenly);
            run_processes(one, workers);
            shared->is_over = true;
            return await(writer);
    }
}

enum Figure { CALLS, READ_P50, READ_P99, SIGNATURE_P50, SIGNATURE_P99, FIGURES };
using Figures = std::array<int64_t, FIGURES>;

Figures figures_of(int workers) {
    std::vector<int64_t> reads, signatures;
    for (int i = 0; i < workers; ++i) {
        const Worker &worker = shared->workers[i];
        reads.insert(reads.end(), worker.reads, worker.reads + worker.read_count);
        signatures.insert(signatures.end(), worker.signatures, worker.signatures + worker.signature_count);
    }
    const auto calls = static_cast<int64_t>(reads.size() + signatures.size()) * SECOND / ROUND_LENGTH;
    return {calls, percentile(reads, 50), percentile(reads, 99), percentile(signatures, 50),
            percentile(signatures, 99)};
}

using Rounds = std::array<std::vector<int64_t>, FIGURES>;

void run_round(const Case &one, int workers, Rounds &rounds) {
    run(one, workers);
    const Figures figures = figures_of(workers);
    for (size_t figure = 0; figure < FIGURES; ++figure) rounds[figure].push_back(figures[figure]);
}

void print_medians(const Case &one, int workers, Rounds &rounds) {
    std::printf("\"%s\",%d", one.who, workers);
    for (std::vector<int64_t> &values : rounds) std::printf(",%lld", static_cast<long long>(percentile(values, 50)));
    std::printf("\n");
}

}  // namespace

int main() {
    void *memory = mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    require(memory != MAP_FAILED, "mmap");
    shared = static_cast<Shared *>(memory);
    const Router router(DEVICES);
    std::array<std::array<Rounds, WORKERS.size()>, CASE_COUNT> rounds;
    for (int round = 0; round < ROUNDS; ++round) {
        for (size_t i = 0; i < CASE_COUNT; ++i) {
            for (size_t k = 0; k < WORKERS.size(); ++k) run_round(CASES[i], WORKERS[k], rounds[i][k]);
        }
    }
    for (size_t i = 0; i < CASE_COUNT; ++i) {
        for (size_t k = 0; k < WORKERS.size(); ++k) print_medians(CASES[i], WORKERS[k], rounds[i][k]);
    }
}
