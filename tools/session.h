#ifndef SARN_TOOLS_SESSION_H
#define SARN_TOOLS_SESSION_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "device_record.h"
#include "refusal.h"
#include "sarn.h"

namespace tool {

// What a start that answers this code is told as.
Refusal refusal_of_start(int32_t code);

// The library open for one command. Everything here throws Refusal.
class Session {
public:
    Session();
    ~Session();
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;

    std::vector<uint32_t> rows_in_state(sarn_state_selector selector) const;
    bool has_free_row() const;
    Device read_device(uint32_t row) const;
    std::optional<Device> read_device_if_used(uint32_t row) const;
    Device find_device(const std::string &mac) const;
    bool is_access_control_on() const;
    bool is_upgrade_on() const;
};

}  // namespace tool

#endif
