// Stands behind the tool in place of the library: SARN_FAKE says what each call answers, "start=-24 enquiry=0 3=0
// 7=-12" (a number is a row in use and what reading it gives). Every row that can be read holds the same hostile
// device.
#include <cstdlib>
#include <sstream>
#include <string>

#include "hostile_device.h"

namespace {

std::string script() {
    const char *text = getenv("SARN_FAKE");
    return std::string(" ") + (text == nullptr ? "" : text);
}

int32_t answer(const std::string &key) {
    std::istringstream words(script());
    for (std::string word; words >> word;) {
        if (word.starts_with(key + "=")) return std::stoi(word.substr(key.size() + 1));
    }
    return 0;
}

}  // namespace

int32_t __log_level;

int32_t sarn_init() { return answer("start"); }

int32_t sarn_uninit() { return 0; }

int32_t sarn_table_enquiry(uint32_t *words, int32_t) {
    for (uint32_t row = 0; row < SARN_ROWS; ++row) {
        if (script().find(" " + std::to_string(row) + "=") != std::string::npos) words[row / 32] |= 1u << row % 32;
    }
    return answer("enquiry");
}

int32_t get_device_info_at_index(device_info *record, uint32_t index) {
    *record = hostile_device();
    return answer(std::to_string(index));
}
