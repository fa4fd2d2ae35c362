// What the library's result codes mean in words, and which exit code each leads to.
#ifndef SARN_TOOLS_REFUSAL_H
#define SARN_TOOLS_REFUSAL_H

#include <cstdint>
#include <stdexcept>
#include <string>

#include "exit_codes.h"

namespace tool {

class Refusal : public std::runtime_error {
public:
    Refusal(ExitCode exit_code, const std::string &message) : std::runtime_error(message), exit_code_(exit_code) {}
    ExitCode exit_code() const { return exit_code_; }

private:
    ExitCode exit_code_;
};

// One number means different things to different calls.
enum class Call : uint8_t { Start, Enquiry, ReadRow };

// `attempt` says what was tried: "cannot read row 7".
Refusal refusal_of(Call call, int32_t code, const std::string &attempt);

}  // namespace tool

#endif
