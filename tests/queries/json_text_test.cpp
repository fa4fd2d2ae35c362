#include <gtest/gtest.h>

#include <string>

#include "include/sarn.h"

namespace {

std::string escape(const std::string &text) {
    std::string out(2 * text.size() + 1, '#');
    EXPECT_EQ(escapeJSON(text.data(), out.data(), static_cast<uint32_t>(text.size())), SARN_OK);
    return out.c_str();
}

std::string unescape(const std::string &text) {
    std::string out(text.size() + 1, '\0');
    EXPECT_EQ(unescapeJSON(text.data(), out.data(), static_cast<uint32_t>(text.size())), out.data());
    return out.c_str();
}

}  // namespace

TEST(JsonText, EveryByteEscapesAndComesBackOrIsDropped) {
    for (int value = 0; value < 256; ++value) {
        const std::string text(1, static_cast<char>(value)), escaped = escape(text);
        const bool has_letter = value != 0 && std::string("\b\t\n\f\r\"\\").find(text) != std::string::npos;
        const bool is_dropped = !has_letter && (value < 0x20 || value == 0x96);
        EXPECT_EQ(escaped.size(), has_letter ? 2U : is_dropped ? 0U : 1U) << value;
        EXPECT_EQ(escaped.empty() ? "" : unescape(escaped), is_dropped ? "" : text) << value;
        EXPECT_EQ(IsJsonEncodeNeeded(text.data(), 0), value < 0x20 || value == '"' || value == '\\') << value;
    }
    EXPECT_EQ(escape(std::string("a\0b", 3)), "ab");
    EXPECT_EQ(escape("A\"\t\x01\x96"), "A\\\"\\t");
    EXPECT_EQ(unescape("\\n\\\\x"), "\n\\x");
    EXPECT_EQ(unescape("\\u0041\\/"), "u0041/");
    EXPECT_EQ(unescape("a\\"), "a");
}

TEST(JsonText, RefusesNullAndEmpty) {
    char out[4] = "xyz";
    EXPECT_EQ(escapeJSON(nullptr, out, 1), SARN_ERR_NO_TEXT);
    EXPECT_EQ(escapeJSON("a", nullptr, 1), SARN_ERR_NO_TEXT);
    EXPECT_EQ(escapeJSON("a", out, 0), SARN_ERR_NO_TEXT);
    EXPECT_EQ(unescapeJSON(nullptr, out, 1), nullptr);
    EXPECT_EQ(unescapeJSON("a", out, 0), nullptr);
    EXPECT_STREQ(out, "xyz");
    EXPECT_EQ(IsJsonEncodeNeeded("abc", 3), 1);
    EXPECT_EQ(IsJsonEncodeNeeded("abc", 2), 0);
}
