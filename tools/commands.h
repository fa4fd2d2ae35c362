// The subcommands. A new one is a file with its setup function, the function's name here, and a row in sarn.cpp.
#ifndef SARN_TOOLS_COMMANDS_H
#define SARN_TOOLS_COMMANDS_H

#include <functional>

#include "exit_codes.h"
#include "output.h"

namespace CLI {
class App;
}

namespace tool {

// Does the work after the arguments were accepted. May throw Refusal; then nothing is printed but its message.
using Run = std::function<ExitCode(Output &)>;

// Declares the subcommand's own arguments, and returns what to run with them.
using Setup = Run (*)(CLI::App &command);

struct Command {
    const char *name;
    const char *help;
    Setup setup;
};

Run setup_list(CLI::App &command);
Run setup_show(CLI::App &command);

}  // namespace tool

#endif
