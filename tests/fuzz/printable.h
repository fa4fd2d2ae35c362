// What a terminal and a JSON reader may get.
#ifndef SARN_TESTS_PRINTABLE_H
#define SARN_TESTS_PRINTABLE_H

#include <nlohmann/json.hpp>
#include <string>

inline bool is_utf8(const std::string &text) {
    try {
        return !nlohmann::json(text).dump().empty();
    } catch (const nlohmann::json::type_error &) {
        return false;
    }
}

// UTF-8 without a control byte, but for line feeds.
inline bool is_printable(const std::string &text) {
    for (size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<uint8_t>(text[i]);
        const bool is_c1 = byte == 0xc2 && i + 1 < text.size() && static_cast<uint8_t>(text[i + 1]) < 0xa0;
        if ((byte < 0x20 && byte != '\n') || byte == 0x7f || is_c1) return false;
    }
    return is_utf8(text);
}

#endif
