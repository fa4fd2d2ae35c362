// Reading again what was written: the library does not tell when the store refused a write.
#ifndef SARN_TOOLS_WRITTEN_H
#define SARN_TOOLS_WRITTEN_H

#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include "device_record.h"
#include "session.h"

namespace tool {

struct Written {
    const FieldSpec *field;
    std::string text;
};

// What a device is to show once it is written.
struct Wanted {
    std::vector<Written> texts = {};
    bool may_be_gone = false;  // a crowded list frees the rows of devices that are offline
    bool is_stamped = false;   // the write also stamps the row with its time
};

// Others may write the same device between a write and a look at it.
inline constexpr int WRITE_TRIES = 3;

// Calls `write`, and looks whether the device shows it, so many times at most. Throws Refusal when it does not, and
// says so on standard error when a text was stored whole and readers see less of it.
void require_written(const Session &session, const std::string &mac, const Wanted &wanted,
                     const std::function<void()> &write);

}  // namespace tool

#endif
