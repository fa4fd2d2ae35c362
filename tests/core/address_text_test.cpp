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
        {true, true, {"aa:bb:cc:dd:ee:ff", "Aa:bB:0c:D0:eE:ff"}},
        {true, false, {"AA:BB:CC:DD:EE:FF:00", "AA:BB:CC:DD:EE:FFxyz"}},
        {false, true, {"00:00:00:00:00:00", "A:BB:CC:DD:EE:FFF", "AA:BB:CC:DD:EE:F:"}},
        {false, false, {"00:00:00:00:00:00x", "AA-BB-CC-DD-EE-FF", "AA:BB:CC:DD:EE", "AA:BB:CC:DD:EE:F", "", "AA"}},
        {false, false, {"GG:BB:CC:DD:EE:FF"}},
    };
    for (const auto &c : cases) {
        for (const char *text : c.texts) {
            EXPECT_EQ(sarn::mac_sanity_check(text), c.is_sane) << text;
            EXPECT_EQ(checkMacAddr(text), c.scans) << text;
        }
    }
    EXPECT_EQ(checkMacAddr(nullptr), 0);
}

TEST(AddressText, IpIsFourNumbersUpTo255) {
    for (std::string text :
         {"192.168.1.1", "0.0.0.0", "010.001.0.255", "1..2.3.4", ".1.2.3.4.", "00000000000001.2.3.4"})
        EXPECT_EQ(is_valid_ip(text.data()), 1) << text;
    for (std::string text : {"256.1.1.1", "1.2.3", "1.2.3.4.5", "1.2.3.a", "1.2.3.-4", "", "....", "1.2.3. 4",
                             "1.2.3.4\n", "4294967296.1.1.1", "1.2.3.18446744073709551617"})
        EXPECT_EQ(is_valid_ip(text.data()), 0) << text;
    std::string split = "10.0.0.1";
    EXPECT_EQ(is_valid_ip(split.data()), 1);
    EXPECT_EQ(split, std::string("10\0000\0000\0001", 8));
    EXPECT_EQ(is_valid_ip(nullptr), 0);
}

TEST(AddressText, DigitsAlone) {
    EXPECT_EQ(valid_digit("") + valid_digit("0123456789"), 2);
    EXPECT_EQ(valid_digit("12a") + valid_digit(nullptr), 0);
}
