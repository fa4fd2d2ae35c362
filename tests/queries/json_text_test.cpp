#include <gtest/gtest.h>

#include "include/sarn.h"

// What becomes of every byte, the fuzzer knows.
TEST(JsonText, RefusesNoTextAndDropsABackslashOfNothing) {
    char out[16] = "";
    EXPECT_STREQ(unescapeJSON("\\u0041\\/\\\\x\\", out, 12), "u0041/\\x");
    EXPECT_EQ(IsJsonEncodeNeeded("abc", 3), 1);
    EXPECT_EQ(escapeJSON(nullptr, out, 1), SARN_ERR_NO_TEXT);
    EXPECT_EQ(escapeJSON("a", nullptr, 1), SARN_ERR_NO_TEXT);
    EXPECT_EQ(escapeJSON("a", out, 0), SARN_ERR_NO_TEXT);
    EXPECT_EQ(unescapeJSON(nullptr, out, 1), nullptr);
    EXPECT_EQ(unescapeJSON("a", out, 0), nullptr);
}
