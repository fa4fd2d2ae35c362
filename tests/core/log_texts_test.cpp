#include "core/log_texts.h"

#include <gtest/gtest.h>

#include "support/checksum.h"

TEST(LogTexts, AreThoseThatHostsKnow) {
    std::string texts;
#define ADD_TEXT(name, level, text) texts += std::to_string(level) + " " + text + "|";
    SARN_LOG_TEXTS(ADD_TEXT)
#undef ADD_TEXT
    EXPECT_EQ(checksum_of(texts), 1874178316) << IF_MEANT << texts;
}
