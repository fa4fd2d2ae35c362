// What the fuzzers share: taking an input apart, saying what is wrong, and a store of their own.
#ifndef SARN_TESTS_FUZZ_H
#define SARN_TESTS_FUZZ_H

#include <algorithm>
#include <nlohmann/json.hpp>
#include <vector>

#include "include/sarn.h"
#include "tests/support/device.h"
#include "tests/support/own_store.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

inline void require(bool is_right, const char *what, const char *where = "") {
    if (is_right) return;
    std::fprintf(stderr, "wrong: %s %s\n", what, where);
    std::abort();
}

class Input {
public:
    Input(const uint8_t *data, size_t size) : next_(data), end_(data + size) {}
    bool is_over() const { return next_ == end_; }
    uint8_t byte() { return is_over() ? uint8_t{0} : *next_++; }
    std::string rest() { return take(static_cast<size_t>(end_ - next_)); }
    // Any bytes, up to 510 of them.
    std::string text() {
        size_t length = byte();
        if (length == UINT8_MAX) length += byte();
        return take(length);
    }
    // A text of a record: as long as the field, or with a NUL behind it.
    template <size_t Width>
    std::string fill(char (&field)[Width]) {
        std::string bytes = text();
        bytes.resize(std::min(bytes.size(), Width));
        std::memset(field, 0, Width);
        std::memcpy(field, bytes.data(), bytes.size());
        return bytes.substr(0, bytes.find('\0'));
    }

private:
    std::string take(size_t length) {
        length = std::min(length, static_cast<size_t>(end_ - next_));
        next_ += length;
        return {reinterpret_cast<const char *>(next_ - length), length};
    }
    const uint8_t *next_;
    const uint8_t *end_;
};

// Exactly these bytes, so that a sanitizer sees who reads on.
inline std::vector<char> exact(const std::string &text) { return {text.begin(), text.end()}; }

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

struct QuietStore : OwnStore {
    QuietStore() { __log_to_console = 0; }
};

struct OwnList : QuietStore {
    OwnList() { require(sarn_init() == SARN_OK, "no start"); }
};

#endif
