#include "written.h"

#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string_view>

#include "output.h"
#include "refusal.h"

namespace tool {

namespace {

size_t seen_of(const Written &written) { return written.field->width - 1; }

bool is_shown(const device_info &record, const Written &written) {
    return read_text(record, *written.field) == std::string_view(written.text).substr(0, seen_of(written));
}

std::optional<Device> find_written(const Session &session, const std::string &mac, bool may_be_gone) {
    try {
        return session.find_device(mac);
    } catch (const Refusal &refusal) {
        if (!may_be_gone || refusal.exit_code() != EXIT_NOT_FOUND) throw;
        return std::nullopt;
    }
}

// Of a report just made. The list keeps 32 bits of a time.
bool is_since(std::string_view stamp, std::time_t begun) {
    constexpr uint32_t LONGEST_REPORT = 3600;
    const long long seconds = std::atoll(std::string(stamp).c_str());
    return static_cast<uint32_t>(seconds) - static_cast<uint32_t>(begun) < LONGEST_REPORT;
}

// What the device shows in place of what was written, or nothing.
std::string find_difference(const device_info &record, const Wanted &wanted, std::time_t begun) {
    for (const Written &written : wanted.texts) {
        if (!is_shown(record, written)) return std::string("another ") + written.field->label;
    }
    const bool is_of_now = !wanted.is_stamped || is_since(read_text(record, field_named("Timestamp")), begun);
    return is_of_now ? "" : "an older time";
}

}  // namespace

void require_written(const Session &session, const std::string &mac, const Wanted &wanted,
                     const std::function<void()> &write) {
    std::string difference;
    for (int i = 0; i < WRITE_TRIES; ++i) {
        const std::time_t begun = std::time(nullptr);
        write();
        const std::optional<Device> device = find_written(session, mac, wanted.may_be_gone);
        difference = device ? find_difference(device->record, wanted, begun) : "";
        if (difference.empty()) break;
    }
    if (!difference.empty())
        throw Refusal(EXIT_NO_STORE,
                      "not written: the list still shows " + difference + " for " + mac + "; the store may be full");
    for (const Written &written : wanted.texts) {
        if (written.text.size() > seen_of(written))
            print_message("note: stored whole, but readers see only the first " + std::to_string(seen_of(written)) +
                          " bytes of the " + written.field->label);
    }
}

}  // namespace tool
