#ifndef SARN_TOOLS_LOG_LEVELS_H
#define SARN_TOOLS_LOG_LEVELS_H

#include <cstdint>

namespace tool {

struct LogLevel {
    int32_t number;
    const char *shows;
};

inline constexpr LogLevel LOG_LEVELS[] = {
    {1, "every step of the library"},
    {2, "notices, refusals and failures"},
    {4, "refusals and failures"},
    {5, "nothing"},
};

// Unless a level is asked for, only what goes wrong with the store is shown.
inline constexpr int32_t STORE_FAILURES = 0;

extern int32_t log_level;

}  // namespace tool

#endif
