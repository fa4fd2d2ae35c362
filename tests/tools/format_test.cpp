// What the tool makes of texts and records, by itself.
#include <gtest/gtest.h>

#include <sstream>
#include <tuple>

#include "device_record.h"
#include "device_text.h"
#include "mac_text.h"
#include "tests/support/device.h"
#include "text_table.h"

using namespace tool;

TEST(EscapeForTerminal, KeepsPrintableUtf8AndNothingElse) {
    const std::tuple<const char *, std::string, std::string, size_t> rows[] = {
        {"plain and backslash", "tv \"a\" %n \\x1b", "tv \"a\" %n \\\\x1b", 15},
        {"controls", {'\033', '[', '\n', '\x7f', '\0'}, "\\x1b[\\x0a\\x7f\\x00", 17},
        {"one, two and no columns", "\xc3\xbc\xe7\x8c\xab\xf0\x9f\x98\xba\xcc\x81",
         "\xc3\xbc\xe7\x8c\xab\xf0\x9f\x98\xba\xcc\x81", 5},
        {"C1 control sequence introducer", "\xc2\x9b", "\\xc2\\x9b", 8},
        {"hidden", "\u034f\u202e\U0001bca3", "\\xcd\\x8f\\xe2\\x80\\xae\\xf0\\x9b\\xb2\\xa3", 36},
        {"variation selectors", "\u2764\ufe0e\u2764\ufe0f\ufe0f\u732b\ufe0f",
         "\u2764\\xef\\xb8\\x8e\u2764\ufe0f\\xef\\xb8\\x8f\u732b\\xef\\xb8\\x8f", 40},
        {"overlong", "\xc0\xaf\xe0\x80\xaf\xf0\x8f\xbf\xbf", "\\xc0\\xaf\\xe0\\x80\\xaf\\xf0\\x8f\\xbf\\xbf", 36},
        {"surrogate and above", "\xed\xa0\x80\xf4\x90\x80\x80", "\\xed\\xa0\\x80\\xf4\\x90\\x80\\x80", 28},
        {"cut short", "\x80z\xc3z\xe7\x8c", "\\x80z\\xc3z\\xe7\\x8c", 18},
    };
    for (const auto &[name, bytes, escaped, width] : rows) {
        EXPECT_EQ(escape_for_terminal(bytes), escaped) << name;
        EXPECT_EQ(display_width(escaped), width) << name;
    }
}

TEST(TextTable, FitsItsLimitByCuttingThenDropping) {
    const TextTable table = {{{"A", 2}, {"B", 4, 2}, {"C", 3, 1}}, {{{"1"}, {"\u00fc23456789"}, {"abc"}}}};
    const std::pair<size_t, const char *> rows[] = {
        {NO_LIMIT, "A  B          C\n1  \u00fc23456789  abc\n"},
        {14, "A  B       C\n1  \u00fc2345\u2026  abc\n"},
        {10, "A  B\n1  \u00fc23456\u2026\n"},
        {5, "A\n1\n"},
    };
    for (const auto &[limit, expected] : rows) EXPECT_EQ(render(table, limit, false), expected) << limit;
    EXPECT_EQ(cut_to_width("\u732b\u732b", 3), "\u732b\u2026");
    EXPECT_EQ(cut_to_width("a\u732b\u732b", 3), "a\u2026") << "half of a wide character does not fit";
    EXPECT_EQ(styled("x", Style::Alert, true), "\033[31mx\033[0m");
}

// As the library leaves a record: '0' characters behind a text's NUL, and in place of one that it could not read.
TEST(DeviceRecord, ShowsTheBestNameAndTellsUnreadableFromUnknown) {
    device_info device;
    std::memset(&device, '0', sizeof device);
    EXPECT_EQ(shown_value(device, field_named("DeviceUUID")), NOT_READABLE);
    set_text(device.DeviceUUID, "000", '0');
    EXPECT_EQ(shown_value(device, field_named("DeviceUUID")), "000");
    set_text(device.DeviceIP, SARN_IP_NOT_READABLE, '0');
    EXPECT_EQ(shown_value(device, field_named("DeviceIP")), NOT_READABLE);
    set_text(device.DeviceIP, "0.0.0.0", '0');
    set_text(device.ConnAPMac, "00:00:00:00:00:00", '0');
    EXPECT_EQ(shown_value(device, field_named("DeviceIP")) + shown_value(device, field_named("ConnAPMac")), "--");

    EXPECT_EQ(shown_name(device), NOTHING_KNOWN);
    char *const names[] = {device.DisplayNameQuorvex, device.DeviceHostname, device.DisplayNameDPI,
                           device.DisplayNameCustom};
    for (char *name : names) {
        std::memset(name, 'A' + static_cast<int>(name - device.DeviceHua) % 26, 64);
        EXPECT_EQ(shown_name(device), std::string(64, *name)) << "not the better one, or read past its width";
    }
}

TEST(MacText, TakesWhatPeopleTypeAndNothingElse) {
    std::istringstream taken(
        "02:AB:cd:0F:00:01 02-ab-CD-0f-00-01 02ab.cd0f.0001 02ABCD0F0001 02abcd-0f0001 2:ab:cd:f:0:1");
    for (std::string typed; taken >> typed;) EXPECT_EQ(read_mac(typed), "02:AB:CD:0F:00:01") << typed;
    std::istringstream refused(
        "02:ab:cd:0f:00 02:ab:cd:0f:00: 02:ab:cd:0f:00:01: 02:ab:cd:0f:00:01:02 02:ab:cd:0f:00:0g 002:ab:cd:0f:0:01 "
        "02:ab-cd:0f:00:01 2ab.cd0f.0001 02abcd0f001 02abcd0f00011 +2:ab:cd:0f:00:01 :::::: 02:ab::0f:00:01");
    for (std::string typed; refused >> typed;) EXPECT_EQ(read_mac(typed), std::nullopt) << typed;
}
