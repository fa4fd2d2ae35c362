// What a call costs, to be read as multiples of one thread's creation and join, the floor of every call with a worker.
#include <benchmark/benchmark.h>
#include <pthread.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "include/sarn.h"

namespace {

std::string mac_of(int64_t number) {
    char text[18];
    std::snprintf(text, sizeof text, "02:00:00:00:%02X:%02X", static_cast<unsigned>(number >> 8 & 0xFF),
                  static_cast<unsigned>(number & 0xFF));
    return text;
}

signature_record signature_of(int64_t number) {
    signature_record record = {};
    std::memcpy(record.mac, mac_of(number).c_str(), sizeof record.mac);
    std::snprintf(record.ip, sizeof record.ip, "192.168.1.7");
    std::snprintf(record.dhcp_hostname, sizeof record.dhcp_hostname, "device-%d", static_cast<int>(number));
    std::snprintf(record.dhcp_options, sizeof record.dhcp_options, "1,3,6,15");
    std::snprintf(record.dhcp_vendor, sizeof record.dhcp_vendor, "vendor");
    std::snprintf(record.state, sizeof record.state, "UP");
    return record;
}

// A store of its own on a tmpfs, with as many devices as the benchmark asks for.
class Router : public benchmark::Fixture {
public:
    void SetUp(const benchmark::State &state) override {
        path_ = "/dev/shm/sarn-bench-" + std::to_string(getpid()) + ".mdb";
        setenv("KORA_STORE", path_.c_str(), 1);
        __log_to_console = 0;
        if (sarn_init() != SARN_OK) std::abort();
        for (int64_t i = 0; i < state.range(0); ++i) {
            const signature_record record = signature_of(i);
            if (update_device_signature(&record, 0) != SARN_OK) std::abort();
        }
    }
    void TearDown(const benchmark::State &) override {
        (void)sarn_uninit();
        unlink(path_.c_str());
        unlink((path_ + "-lock").c_str());
    }

private:
    std::string path_;
};

void *do_nothing(void *) { return nullptr; }

void thread_create_join(benchmark::State &state) {
    for (auto _ : state) {
        pthread_t thread;
        if (pthread_create(&thread, nullptr, do_nothing, nullptr) != 0) std::abort();
        pthread_join(thread, nullptr);
    }
}
BENCHMARK(thread_create_join)->UseRealTime();

BENCHMARK_DEFINE_F(Router, record_by_row)(benchmark::State &state) {
    device_info record;
    for (auto _ : state) {
        if (get_device_info_at_index(&record, 3) != SARN_OK) std::abort();
    }
}

BENCHMARK_DEFINE_F(Router, record_by_mac)(benchmark::State &state) {
    device_info record;
    const std::string mac = mac_of(3);
    for (auto _ : state) {
        if (get_device_info_by_mac(&record, mac.c_str()) != SARN_OK) std::abort();
    }
}

BENCHMARK_DEFINE_F(Router, signature_of_known_device)(benchmark::State &state) {
    const signature_record record = signature_of(3);
    for (auto _ : state) {
        if (update_device_signature(&record, 0) != SARN_OK) std::abort();
    }
}

BENCHMARK_REGISTER_F(Router, record_by_row)->Arg(10)->Arg(256)->UseRealTime();
BENCHMARK_REGISTER_F(Router, record_by_mac)->Arg(10)->Arg(256)->UseRealTime();
BENCHMARK_REGISTER_F(Router, signature_of_known_device)->Arg(10)->Arg(256)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
