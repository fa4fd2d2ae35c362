#include "bench/alternative.h"

#include <algorithm>
#include <cstring>

namespace bench {

void copy_field(char (&field)[FIELD_WIDTH], const char *text, size_t length) {
    const size_t kept = std::min<size_t>(length, FIELD_WIDTH - 1);
    std::memcpy(field, text, kept);
    field[kept] = '\0';
}

void take_report(Record &record, const Report &report) {
    for (size_t i = 0; i < report.size(); ++i) {
        copy_field(record.fields[MAC_FIELD + 1 + i], report[i].data(), report[i].size());
    }
}

Record record_of(int device) {
    Record record = {};
    const MacText mac = mac_of(device);
    copy_field(record.fields[MAC_FIELD], mac.text, sizeof mac.text - 1);
    take_report(record, report_of(device, -1));
    return record;
}

}  // namespace bench
