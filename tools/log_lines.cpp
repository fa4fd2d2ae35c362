// The logger that the library and the store find in this process.
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

#include "kora.h"
#include "log_levels.h"
#include "output.h"
#include "sarn.h"

namespace tool {

int32_t log_level = STORE_FAILURES;

}  // namespace tool

void log_printf(int32_t level, const char *file, int32_t line, const char *format, ...) {
    // A refusal of the library reaches the person in better words; why the store failed, only the store knows.
    const bool is_of_store = std::strcmp(file, KORA_LOG_SOURCE) == 0;
    if (tool::log_level == tool::STORE_FAILURES ? !is_of_store : level < tool::log_level) return;
    char message[1024];
    va_list values;
    va_start(values, format);
    const int length = vsnprintf(message, sizeof message, format, values);
    va_end(values);
    if (length < 0) return;
    message[std::strcspn(message, "\r\n")] = '\0';
    tool::print_message(tool::log_level == tool::STORE_FAILURES
                            ? message
                            : std::to_string(level) + " " + file + ":" + std::to_string(line) + " " + message);
}
