// The devices that every subject stores, and what a report changes on one.
#ifndef SARN_BENCH_DEVICE_H
#define SARN_BENCH_DEVICE_H

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace bench {

enum { RECORD_FIELDS = 35, MAC_FIELD = 0, REPORTED_FIELDS = 13 };

// The names of a record's fields: the MAC, then what a report writes, then what others write.
extern const char *const FIELD_NAMES[RECORD_FIELDS];

struct MacText {
    char text[18];
};
MacText mac_of(int device);

// The texts of one report in the order of FIELD_NAMES, from the one behind the MAC on. `turn` makes every text new;
// a negative one leaves out what tells one report from another.
using Report = std::array<std::string, REPORTED_FIELDS>;
Report report_of(int device, int64_t turn);

[[noreturn]] inline void give_up(const char *what) {
    std::fprintf(stderr, "bench: %s failed\n", what);
    std::exit(EXIT_FAILURE);
}

inline void require(bool holds, const char *what) {
    if (!holds) give_up(what);
}

}  // namespace bench

#endif
