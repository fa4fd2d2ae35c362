// What the library's result codes mean in words, and which exit code each leads to.
#ifndef SARN_TOOLS_REFUSAL_H
#define SARN_TOOLS_REFUSAL_H

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

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
enum class Call : uint8_t {
    Start,
    States,
    Find,
    ReadRow,
    DisplayText,
    Pause,
    Forget,
    SetField,
    Report,
    Signature,
    ReadAccess,
    Switch,
    Refresh,
    Any  // in the table of meanings alone: every call to which a number means nothing else
};

// `attempt` says what was tried: "cannot read row 7".
Refusal refusal_of(Call call, int32_t code, const std::string &attempt);

// Returns the call's answer, a row or a count. Throws the Refusal of a code.
int32_t require(Call call, int32_t answer, const std::string &attempt);

// An argument as messages show it: in quotation marks, and not all of a long one.
std::string in_quotes(std::string_view argument);

}  // namespace tool

#endif
