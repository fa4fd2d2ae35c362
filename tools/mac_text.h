#ifndef SARN_TOOLS_MAC_TEXT_H
#define SARN_TOOLS_MAC_TEXT_H

#include <optional>
#include <string>
#include <string_view>

namespace tool {

// A MAC address in any spelling that people type or paste, as the library writes it: "02:AB:CD:EF:00:01". Nothing for
// any other text.
std::optional<std::string> read_mac(std::string_view typed);

// How the library writes that there is no address.
inline constexpr std::string_view NO_MAC = "00:00:00:00:00:00";

// The same for an argument. Throws Refusal, also for the address that stands for no device.
std::string require_mac(std::string_view typed);

}  // namespace tool

#endif
