// Runs programs as a person does, on a store of the test's own.
#ifndef SARN_TESTS_RUN_PROGRAM_H
#define SARN_TESTS_RUN_PROGRAM_H

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>

#include "tests/support/own_store.h"

struct Result {
    int exit_code;
    std::string out;  // standard error too, where the command does not send it elsewhere
};

inline Result run(const std::string &program, const std::string &arguments, const std::string &environment = "") {
    Result result = {-1, ""};
    FILE *pipe = popen((environment + " '" + program + "' 2>&1 " + arguments).c_str(), "r");
    char buffer[4096];
    while (const size_t count = fread(buffer, 1, sizeof buffer, pipe)) result.out.append(buffer, count);
    const int status = pclose(pipe);
    if (WIFEXITED(status)) result.exit_code = WEXITSTATUS(status);
    return result;
}

inline bool has(const std::string &text, const std::string &part) { return text.find(part) != std::string::npos; }

class OnStore : public testing::Test, protected OwnStore {};

#endif
