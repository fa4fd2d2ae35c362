// Runs a program as a person does.
#ifndef SARN_TESTS_RUN_TOOL_H
#define SARN_TESTS_RUN_TOOL_H

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "tests/support/store_folder.h"

struct Result {
    int exit_code;
    std::string out;
};

inline Result run(const std::string &command) {
    Result result = {-1, ""};
    FILE *pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) return result;
    char buffer[4096];
    while (const size_t count = fread(buffer, 1, sizeof buffer, pipe)) result.out.append(buffer, count);
    const int status = pclose(pipe);
    if (WIFEXITED(status)) result.exit_code = WEXITSTATUS(status);
    return result;
}

inline Result run_on_fake(const std::string &script, const std::string &arguments) {
    return run("SARN_FAKE='" + script + "' '" SARN_TOOL_ON_FAKE "' " + arguments);
}

inline Result run_tool(const std::string &arguments) { return run("'" SARN_TOOL "' " + arguments); }

inline bool has(const std::string &text, const std::string &part) { return text.find(part) != std::string::npos; }

// The tool on the real library, with a store of the test's own.
class ToolOnStore : public testing::Test {
protected:
    void SetUp() override { setenv("KORA_STORE", (folder_ + "/store.mdb").c_str(), 1); }
    void TearDown() override { std::filesystem::remove_all(folder_); }

    std::string folder_ = make_store_folder();
};

#endif
