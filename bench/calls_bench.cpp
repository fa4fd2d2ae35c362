// Every subject in one program, so that one run interleaves them: this library, the floors, and what one would use
// instead. To be read as multiples of one thread's creation and join in the same run.
#include <cstring>

#include "bench/alternative.h"
#include "bench/by_hand.h"
#include "bench/measure.h"

namespace {

using namespace bench;

constexpr int DEVICE = 3;  // known at every size
constexpr int64_t CALLS = 1000;
constexpr int64_t CALLS_BY_FIELD = 50;  // each is 35 exchanges

struct NamedAlternative {
    const char *name;
    MakeAlternative make;
};
constexpr NamedAlternative ALTERNATIVES[] = {
    {"sqlite", make_sqlite}, {"redis", make_redis}, {"dbus", make_dbus}, {"daemon", make_daemon}};

void measure_read(benchmark::State &state, MakeAlternative make, int devices) {
    const auto store = make(devices);
    const MacText mac = mac_of(DEVICE);
    Record record = {};
    measure(state, {}, [&] { require(store->read_record(mac, record), "reading a record"); });
    const Record expected = record_of(DEVICE);
    require(std::memcmp(&record, &expected, sizeof record) == 0, "comparing the record");
}

void measure_update(benchmark::State &state, MakeAlternative make, int devices, bool is_new) {
    const auto store = make(devices);
    const MacText mac = mac_of(DEVICE);
    Report report;
    measure(
        state, [&](int64_t turn) { report = report_of(DEVICE, is_new ? turn : -1); },
        [&] { require(store->write_report(mac, report), "writing a report"); });
}

void register_alternatives() {
    for (const int devices : SIZES) {
        for (const NamedAlternative &one : ALTERNATIVES) {
            register_benchmark(benchmark_name(one.name, "record_by_mac", devices), CALLS,
                               [=](benchmark::State &state) { measure_read(state, one.make, devices); });
            register_benchmark(benchmark_name(one.name, "signature_nothing_new", devices), CALLS,
                               [=](benchmark::State &state) { measure_update(state, one.make, devices, false); });
            register_benchmark(benchmark_name(one.name, "signature_all_new", devices), CALLS,
                               [=](benchmark::State &state) { measure_update(state, one.make, devices, true); });
        }
        register_benchmark(benchmark_name("dbus_by_field", "record_by_mac", devices), CALLS_BY_FIELD,
                           [=](benchmark::State &state) { measure_read(state, make_dbus_by_field, devices); });
        register_benchmark(benchmark_name("floor", "record_by_hand", devices), CALLS, [=](benchmark::State &state) {
            const auto store = make_by_hand(devices);
            Record record;
            measure(state, {}, [&] { require(store->read_record(DEVICE, record), "a record by hand"); });
        });
        register_benchmark(benchmark_name("floor", "field_by_hand", devices), CALLS, [=](benchmark::State &state) {
            const auto store = make_by_hand(devices);
            std::string text;
            measure(
                state, [&](int64_t turn) { text = std::to_string(turn); },
                [&] { require(store->write_field(DEVICE, text), "a field by hand"); });
        });
    }
}

}  // namespace

int main(int argc, char **argv) {
    bench::register_library(CALLS);
    register_alternatives();
    return bench::run_benchmarks(argc, argv);
}
