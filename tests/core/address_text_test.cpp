#include "core/address_text.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "include/sarn.h"

TEST(AddressText, MacChecksDifferWhereTheyShould) {
    struct {
        bool is_sane, scans;
        std::vector<const char *> texts;
    } const cases[] = {
        {true, true, {"Aa:bB:0c:D0:eE:ff"}},
        {true, false, {"AA:BB:CC:DD:EE:FFxyz"}},
        {false, true, {"00:00:00:00:00:00", "A:BB:CC:DD:EE:FFF", "AA:BB:CC:DD:EE:F:"}},
        {false, false, {"00:00:00:00:00:00x", "AA-BB-CC-DD-EE-FF", "AA:BB:CC:DD:EE:F", "", "GG:BB:CC:DD:EE:FF"}},
    };
    for (const auto &c : cases) {
        for (const char *text : c.texts) {
            EXPECT_EQ(sarn::mac_sanity_check(text), c.is_sane) << text;
            EXPECT_EQ(checkMacAddr(text), c.scans) << text;
        }
    }
    EXPECT_EQ(checkMacAddr(nullptr), 0);
    EXPECT_EQ(is_valid_ip(nullptr), 0);
    for (const char *text : {"12a", static_cast<const char *>(nullptr)}) EXPECT_EQ(valid_digit(text), 0) << !!text;
}

TEST(AddressText, IpIsFourNumbersUpTo255) {
    for (std::string text : {"192.168.1.255", "0.0.0.0", ".1..2.3.4.", "00000000000001.2.3.4"})
        EXPECT_EQ(is_valid_ip(text.data()), 1) << text;
    for (std::string text : {"256.1.1.1", "1.2.3", "1.2.3.4.5", "1.2.3.a", "1.2.3.-4", "", "4294967296.1.1.1"})
        EXPECT_EQ(is_valid_ip(text.data()), 0) << text;
}
