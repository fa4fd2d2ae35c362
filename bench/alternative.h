// What one would use instead of this library: each holds the same devices and does the same two tasks.
#ifndef SARN_BENCH_ALTERNATIVE_H
#define SARN_BENCH_ALTERNATIVE_H

#include <memory>

#include "bench/device.h"

namespace bench {

// One device, every field as a text. About as long as the library's own record.
enum { FIELD_WIDTH = 40 };
struct Record {
    char fields[RECORD_FIELDS][FIELD_WIDTH];
};
Record record_of(int device);
// The reported fields of a record, from the one behind the MAC on.
void take_report(Record &record, const Report &report);
void copy_field(char (&field)[FIELD_WIDTH], const char *text, size_t length);

class Alternative {
public:
    virtual ~Alternative() = default;
    // False when not all 35 fields came back.
    virtual bool read_record(const MacText &mac, Record &record) = 0;
    virtual bool write_report(const MacText &mac, const Report &report) = 0;
};

using MakeAlternative = std::unique_ptr<Alternative> (*)(int devices);
std::unique_ptr<Alternative> make_sqlite(int devices);
std::unique_ptr<Alternative> make_redis(int devices);
std::unique_ptr<Alternative> make_daemon(int devices);
std::unique_ptr<Alternative> make_dbus(int devices);
std::unique_ptr<Alternative> make_dbus_by_field(int devices);

}  // namespace bench

#endif
