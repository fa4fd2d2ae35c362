#include <gtest/gtest.h>

#include <string>

#include "include/sarn.h"

TEST(JsonText, EveryByteEscapesAndComesBackOrIsDropped) {
    for (int value = 0; value < 256; ++value) {
        const char byte = static_cast<char>(value);
        const bool has_letter = value != 0 && std::string("\b\t\n\f\r\"\\").find(byte) != std::string::npos;
        const bool is_dropped = !has_letter && (value < 0x20 || value == 0x96);
        char escaped[3] = "##", back[3] = "";
        EXPECT_EQ(escapeJSON(&byte, escaped, 1), SARN_OK);
        const auto length = static_cast<uint32_t>(std::string(escaped).size());
        EXPECT_EQ(length, has_letter ? 2U : is_dropped ? 0U : 1U) << value;
        EXPECT_EQ(unescapeJSON(escaped, back, length), is_dropped ? nullptr : back) << value;
        EXPECT_EQ(std::string(back), std::string(is_dropped ? 0 : 1, byte)) << value;
        EXPECT_EQ(IsJsonEncodeNeeded(&byte, 0), value < 0x20 || value == '"' || value == '\\') << value;
    }
    char out[16] = "";
    EXPECT_STREQ(unescapeJSON("\\u0041\\/\\\\x\\", out, 12), "u0041/\\x");
    EXPECT_EQ(IsJsonEncodeNeeded("abc", 3), 1);
    EXPECT_EQ(escapeJSON(nullptr, out, 1), SARN_ERR_NO_TEXT);
    EXPECT_EQ(escapeJSON("a", nullptr, 1), SARN_ERR_NO_TEXT);
    EXPECT_EQ(escapeJSON("a", out, 0), SARN_ERR_NO_TEXT);
    EXPECT_EQ(unescapeJSON(nullptr, out, 1), nullptr);
    EXPECT_EQ(unescapeJSON("a", out, 0), nullptr);
}
