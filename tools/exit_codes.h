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

}  // namespace tool

#endif
