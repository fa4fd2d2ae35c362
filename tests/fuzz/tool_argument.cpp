// Any arguments: the tool ends with an exit code of its own, and what it writes is printable.
#include "fuzz.h"

#define main tool_main
#include "tools/sarn.cpp"
#undef main

extern "C" {

ssize_t __real_write(int descriptor, const void *bytes, size_t size);
int __real_close(int descriptor);

static bool is_tool_running = false;

ssize_t __wrap_write(int descriptor, const void *bytes, size_t size) {
    if (!is_tool_running) return __real_write(descriptor, bytes, size);
    is_tool_running = false;
    require(is_printable({static_cast<const char *>(bytes), size}), "a control byte goes to the terminal");
    is_tool_running = true;
    return static_cast<ssize_t>(size);
}

int __wrap_close(int descriptor) {
    return is_tool_running && descriptor == STDOUT_FILENO ? 0 : __real_close(descriptor);
}
}

// Arguments end in NULs, as the kernel hands them over. The first byte says what the library answers.
int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    constexpr const char *ANSWERS[] = {"3=0 7=-12 find=3", "start=-24", "3=-2 find=-1 states=-16",
                                       "3=0 find=3 set=-12 text=-2"};
    Input input(data, size);
    setenv("SARN_FAKE", ANSWERS[input.byte() % std::size(ANSWERS)], 1);
    std::string text = input.rest() + '\0';
    std::vector<char *> arguments = {const_cast<char *>("sarn")};
    for (size_t at = 0; at < text.size(); at = text.find('\0', at) + 1) arguments.push_back(&text[at]);
    arguments.push_back(nullptr);
    is_tool_running = true;
    const int status = tool_main(static_cast<int>(arguments.size()) - 1, arguments.data());
    is_tool_running = false;
    require(status >= tool::EXIT_DONE && status <= tool::EXIT_OUTPUT, "an exit code that no page tells of");
    tool::log_level = tool::STORE_FAILURES;
    return 0;
}
