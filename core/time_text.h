// Times as the store keeps them: seconds since the epoch, unsigned decimal.
#ifndef SARN_CORE_TIME_TEXT_H
#define SARN_CORE_TIME_TEXT_H

#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>

namespace sarn {

// Wider than any time, so that a text that someone else wrote there is read whole.
inline constexpr int32_t TIME_TEXT_SIZE = 50;

struct TimeText {
    char text[TIME_TEXT_SIZE] = {};
};

inline TimeText current_time_text() {
    TimeText now;
    (void)snprintf(now.text, sizeof now.text, "%u", static_cast<unsigned int>(time(nullptr)));
    return now;
}

// Times above 2^31 - 1 come out negative, as atoi gives them; every reader of the store agrees on that.
inline int32_t seconds_of(const char *text) { return static_cast<int32_t>(strtoll(text, nullptr, 10)); }

}  // namespace sarn

#endif
