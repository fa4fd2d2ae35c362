#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "device_json.h"
#include "device_text.h"
#include "hostile_device.h"
#include "text_table.h"

using namespace tool;
using namespace std::string_literals;

TEST(EscapeForTerminal, KeepsPrintableUtf8AndNothingElse) {
    const struct {
        const char *name;
        std::string bytes, escaped;
        size_t width;
    } rows[] = {
        {"plain", "tv-2 \"a\" %n%s", "tv-2 \"a\" %n%s", 13},
        {"backslash", "\\x1b", "\\\\x1b", 5},
        {"controls", "\033[2J\n\r\t\x7f\0"s, "\\x1b[2J\\x0a\\x0d\\x09\\x7f\\x00", 27},
        {"two bytes", "\xc3\xbc", "\xc3\xbc", 1},
        {"wide", "\xe7\x8c\xab\xf0\x9f\x98\xba", "\xe7\x8c\xab\xf0\x9f\x98\xba", 4},
        {"combining", "e\xcc\x81", "e\xcc\x81", 1},
        {"C1 control sequence introducer", "\xc2\x9b", "\\xc2\\x9b", 8},
        {"right-to-left override", {'\xe2', '\x80', '\xae'}, "\\xe2\\x80\\xae", 12},
        {"fillers", "\u034f\u2800\U0001bca3", "\\xcd\\x8f\\xe2\\xa0\\x80\\xf0\\x9b\\xb2\\xa3", 36},
        {"variation selectors", "\u2764\ufe0e\u2764\ufe0f", "\u2764\\xef\\xb8\\x8e\u2764\ufe0f", 14},
        {"overlong", "\xc0\xaf\xe0\x80\xaf", "\\xc0\\xaf\\xe0\\x80\\xaf", 20},
        {"overlong four", "\xf0\x8f\xbf\xbf", "\\xf0\\x8f\\xbf\\xbf", 16},
        {"surrogate and above", "\xed\xa0\x80\xf4\x90", "\\xed\\xa0\\x80\\xf4\\x90", 20},
        {"lone continuation", "\x80z", "\\x80z", 5},
        {"cut short", "a\xe7\x8c", "a\\xe7\\x8c", 9},
        {"lead then letter", "\xc3z", "\\xc3z", 5},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(escape_for_terminal(row.bytes), row.escaped);
        EXPECT_EQ(display_width(escape_for_terminal(row.bytes)), row.width);
    }
}

TEST(CutToWidth, CountsColumnsAndKeepsCharactersWhole) {
    EXPECT_EQ(cut_to_width("\xe7\x8c\xab\xe7\x8c\xab", 4), "\xe7\x8c\xab\xe7\x8c\xab");
    EXPECT_EQ(cut_to_width("\xe7\x8c\xab\xe7\x8c\xab", 3), "\xe7\x8c\xab\u2026");
    EXPECT_EQ(cut_to_width("a\xe7\x8c\xab\xe7\x8c\xab", 3), "a\u2026");
    EXPECT_EQ(cut_to_width("abcdef", 1), "\u2026");
}

TEST(DeviceRecord, ReadsNothingPastAFieldsWidth) {
    device_info device = hostile_device();
    fill(device.DisplayNameCustom, std::string(64, 'A'));
    fill(device.DisplayNameDPI, std::string(64, 'B'));
    EXPECT_EQ(shown_name(device), std::string(64, 'A'));
    EXPECT_EQ(shown_value(device, field_named("DeviceUUID")), NOT_READABLE);
    fill(device.DeviceUUID, "000");
    EXPECT_EQ(shown_value(device, field_named("DeviceUUID")), "000");
    fill(device.DeviceIP, "48.48.48.48");
    EXPECT_EQ(shown_value(device, field_named("DeviceIP")), NOT_READABLE);
    EXPECT_TRUE(nlohmann::json::parse(json_of({1, device}))["DeviceIP"].is_null());
    fill(device.DeviceIP, "0.0.0.0");
    fill(device.ConnAPMac, "00:00:00:00:00:00");
    EXPECT_EQ(shown_value(device, field_named("DeviceIP")) + shown_value(device, field_named("ConnAPMac")), "--");
}

TEST(DeviceRecord, PrefersTheOwnersNameThenTheRecognisedThenTheComposed) {
    device_info device = {};
    const auto name_with = [&](auto field, const char *text) {
        fill(device.*field, text);
        return shown_name(device);
    };
    EXPECT_EQ(shown_name(device), NOTHING_KNOWN);
    EXPECT_EQ(name_with(&device_info::DisplayNameQuorvex, "Acme-X1"), "Acme-X1");
    EXPECT_EQ(name_with(&device_info::DeviceHostname, "host"), "host");
    EXPECT_EQ(name_with(&device_info::DisplayNameDPI, "recognised"), "recognised");
    EXPECT_EQ(name_with(&device_info::DisplayNameCustom, "mine"), "mine");
    fill(device.DisplayNameCustom, std::string(64, '0'));
    EXPECT_EQ(shown_name(device), "recognised") << "a name that could not be read is not a name";
}

TEST(DeviceJson, ParsesBackToTheBytesThatWereValid) {
    const std::string text = json_of(std::vector<Device>{{7, hostile_device()}, {255, hostile_device()}});
    for (const char c : text) EXPECT_TRUE(c == '\n' || (c >= ' ' && c < 0x7F)) << static_cast<int>(c);
    const auto array = nlohmann::json::parse(text);
    ASSERT_EQ(array.size(), 2u);
    EXPECT_EQ(array[1]["row"], 255);
    const auto &device = array[0];
    EXPECT_EQ(device.size(), FIELDS.size() + 1);
    EXPECT_EQ(device["Producerid"], -1);
    EXPECT_EQ(device["DisplayNameCustom"], "");
    EXPECT_EQ(device["DisplayNameDPI"], "\033]0;owned\007\"M\xc3\xbcller\"\n%n%s");
    EXPECT_EQ(device["DeviceDHCPVendor"], "\ufffd\ufffd\ufffd\u009b\x7f");
    EXPECT_EQ(device["DeviceMAC"], "02:00:00:00:00:01");
    EXPECT_TRUE(device["DeviceUUID"].is_null());
}

TEST(TextTable, FitsItsLimitByCuttingThenDropping) {
    const TextTable table = {{{"A", 2}, {"B", 4, 2}, {"C", 3, 1}}, {{{"1"}, {"\u00fc23456789"}, {"abc"}}}};
    const struct {
        size_t limit;
        const char *expected;
    } rows[] = {
        {NO_LIMIT, "A  B          C\n1  \u00fc23456789  abc\n"},
        {14, "A  B       C\n1  \u00fc2345\u2026  abc\n"},
        {10, "A  B\n1  \u00fc23456\u2026\n"},
        {5, "A\n1\n"},
    };
    for (const auto &row : rows) EXPECT_EQ(render(table, row.limit, false), row.expected) << row.limit;
    EXPECT_EQ(styled("x", Style::Alert, true), "\033[31mx\033[0m");
}
