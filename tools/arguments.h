// Arguments that several commands take.
#ifndef SARN_TOOLS_ARGUMENTS_H
#define SARN_TOOLS_ARGUMENTS_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace CLI {
class App;
}

namespace tool {

void add_mac(CLI::App &command, std::string &mac);
void add_producer(CLI::App &command, int32_t &producer);

// A dotted quad in its one spelling. Throws Refusal.
std::string require_ip(const std::string &typed);

// Throws Refusal when a text is longer than its field takes. `what` names it: "a name".
void require_length(const std::string &text, size_t limit, const std::string &what);

}  // namespace tool

#endif
