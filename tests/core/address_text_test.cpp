#include "core/address_text.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "include/sarn.h"

TEST(AddressText, MacChecksDifferWhereTheyShould) {
    struct {
        const char *text;
        bool sane, scans;
    } const cases[] = {
        {"aa:bb:cc:dd:ee:ff", true, true},
        {"Aa:bB:0c:D0:eE:ff", true, true},
        {"00:00:00:00:00:00", false, true},
        {"00:00:00:00:00:00x", false, false},
        {"AA:BB:CC:DD:EE:FF:00", true, false},
        {"AA:BB:CC:DD:EE:FFxyz", true, false},
        {"AA-BB-CC-DD-EE-FF", false, false},
        {"AA:BB:CC:DD:EE", false, false},
        {"AA:BB:CC:DD:EE:F", false, false},
        {"GG:BB:CC:DD:EE:FF", false, false},
        {"A:BB:CC:DD:EE:FFF", false, true},
        {"", false, false},
        {"AA", false, false},
        {"AA:BB:CC:DD:EE:F:", false, true},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(sarn::mac_sanity_check(c.text), c.sane) << c.text;
        EXPECT_EQ(checkMacAddr(c.text), c.scans) << c.text;
    }
    EXPECT_EQ(checkMacAddr(nullptr), 0);
}

TEST(AddressText, IpIsFourNumbersUpTo255) {
    const std::pair<const char *, int> cases[] = {
        {"192.168.1.1", 1},
        {"0.0.0.0", 1},
        {"010.001.0.255", 1},
        {"1..2.3.4", 1},
        {".1.2.3.4.", 1},
        {"256.1.1.1", 0},
        {"1.2.3", 0},
        {"1.2.3.4.5", 0},
        {"1.2.3.a", 0},
        {"1.2.3.-4", 0},
        {"", 0},
        {"....", 0},
        {"1.2.3. 4", 0},
        {"1.2.3.4\n", 0},
        {"4294967296.1.1.1", 0},
        {"1.2.3.18446744073709551617", 0},
        {"0000000000000000000001.2.3.4", 1},
    };
    for (const auto &[text, valid] : cases) {
        std::string writable = text;
        EXPECT_EQ(is_valid_ip(writable.data()), valid) << text;
    }
    char split[] = "10.0.0.1";
    EXPECT_EQ(is_valid_ip(split), 1);
    EXPECT_EQ(std::memcmp(split, "10\0000\0000\0001", sizeof split), 0);
    EXPECT_EQ(is_valid_ip(nullptr), 0);
}

TEST(AddressText, DigitsAlone) {
    EXPECT_EQ(valid_digit(""), 1);
    EXPECT_EQ(valid_digit("0123456789"), 1);
    EXPECT_EQ(valid_digit("12a"), 0);
    EXPECT_EQ(valid_digit(nullptr), 0);
}
