#ifndef SARN_TOOLS_EXIT_CODES_H
#define SARN_TOOLS_EXIT_CODES_H

namespace tool {

enum ExitCode : int {
    EXIT_DONE = 0,
    EXIT_NOT_FOUND = 1,
    EXIT_USAGE = 2,
    EXIT_NO_STORE = 3,
    EXIT_WRONG_STATE = 4,
    EXIT_OUTPUT = 5,
};

inline constexpr char HELP_FOOTER[] =
    "`sarn COMMAND --help` tells what a command takes. KORA_STORE names the store (default /run/kora/store.mdb).\n"
    "Exit codes: 0 done, 1 not found, 2 usage, 3 store not available, 4 refused by the state of the device or router,\n"
    "5 output not written, or memory short.";

}  // namespace tool

#endif
