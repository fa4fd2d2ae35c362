#ifndef SARN_TOOLS_SESSION_H
#define SARN_TOOLS_SESSION_H

#include <cstdint>
#include <vector>

#include "device_record.h"

namespace tool {

// The library open for one command.
class Session {
public:
    Session();  // throws Refusal
    ~Session();
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;

    std::vector<uint32_t> rows_in_use() const;  // throws Refusal
    Device read_device(uint32_t row) const;     // throws Refusal
};

}  // namespace tool

#endif
