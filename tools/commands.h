// The subcommands. A new one is a file cmd_NAME.cpp with its setup function; the function's name here; a row in
// sarn.cpp; a paragraph of man/sarn.1.scd; and what its arguments may be in packaging/completion/sarn.
#ifndef SARN_TOOLS_COMMANDS_H
#define SARN_TOOLS_COMMANDS_H

#include <functional>

#include "exit_codes.h"
#include "output.h"

namespace CLI {
class App;
}

namespace tool {

// Does the work after the arguments were accepted. May throw Refusal, whose message is then the last line, without any
// output.
using Run = std::function<ExitCode(Output &)>;

// Declares the subcommand's own arguments, and returns what to run with them.
using Setup = Run (*)(CLI::App &command);

struct Command {
    const char *name;
    const char *help;
    Setup setup;
};

// Those that serve several commands look at the command's name.
Run setup_forget(CLI::App &command);
Run setup_list(CLI::App &command);
Run setup_log_level(CLI::App &command);
Run setup_pause(CLI::App &command);
Run setup_refresh(CLI::App &command);
Run setup_report(CLI::App &command);
Run setup_save(CLI::App &command);
Run setup_set(CLI::App &command);
Run setup_show(CLI::App &command);
Run setup_status(CLI::App &command);
Run setup_switch(CLI::App &command);
Run setup_text(CLI::App &command);
Run setup_types(CLI::App &command);

}  // namespace tool

#endif
