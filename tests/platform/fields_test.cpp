#include <functional>

#include "tests/platform/support.h"

namespace {

using sarn::Type;

class Fields : public StoreTest {
protected:
    void SetUp() override {
        StoreTest::SetUp();
        open();
    }
};

TEST_F(Fields, UnwrittenOnesReadAsReset) {
    using sarn::Field;
    const struct {
        Field field;
        Value value;
    } cases[] = {{Field::sarngeneral_MappingComplete, {.text = "init"}},
                 {Field::SarnFWupgrade_FWStatusswitch, {.text = "INIT"}},
                 {Field::general_Internetstatus, {}},
                 {Field::Sarnsignature_AllowOrBlock, {.text = "allow"}},
                 {Field::Sarnsignature_Devicestate, {.text = "unknown"}},
                 {Field::DeviceIdList_Producerid, {.number = 100}},
                 {Field::Sarnsignature_DeviceMAC, {}},
                 {Field::Sarnsignature_DeviceIP, {}},
                 {Field::FeatureCfg_NDNEnable, {}},
                 {Field::DeviceIdList_DisplayNameCustom, {}}};
    for (const auto &c : cases) {
        Value found;
        EXPECT_EQ(read_any(handle, c.field, 0, found), 0) << sarn::spec_of(c.field).name;
        EXPECT_TRUE(found == c.value) << sarn::spec_of(c.field).name;
    }
}

TEST_F(Fields, RefusedCallsChangeNothing) {
    ASSERT_EQ(set("kept"), 0);
    const size_t before = last_transaction(path);
    void *const h = handle;
    const std::string long_text(KORA_TEXT_MAX + 1, 'x');
    const uint8_t six[6] = {1};
    char buffer[8] = "as was";
    uint8_t bytes[6] = {9};
    uint32_t number = 9;
    const struct {
        const char *name;
        std::function<int32_t()> call;
    } cases[] = {
        {"null table", [&] { return kora_set_ascii(h, nullptr, 0, "DeviceHostname", "x"); }},
        {"null field", [&] { return kora_set_ascii(h, "DeviceIdList", 0, nullptr, "x"); }},
        {"null text", [&] { return kora_set_ascii(h, "DeviceIdList", 0, "DeviceHostname", nullptr); }},
        {"null mac", [&] { return kora_set_mac(h, "DeviceIdList", 0, "DeviceMAC", nullptr); }},
        {"null buffer", [&] { return kora_get_ascii(h, "DeviceIdList", 0, "DeviceHostname", nullptr, 8); }},
        {"null number", [&] { return kora_get_uint(h, "DeviceIdList", 0, "Producerid", nullptr); }},
        {"null bool", [&] { return kora_get_bool(h, "FeatureCfg", 0, "NDNEnable", nullptr); }},
        {"size 0", [&] { return kora_get_ascii(h, "DeviceIdList", 0, "DeviceHostname", buffer, 0); }},
        {"size -1", [&] { return kora_get_ascii(h, "DeviceIdList", 0, "DeviceHostname", buffer, -1); }},
        {"unknown table", [&] { return kora_set_ascii(h, "DeviceIdlist", 0, "DeviceHostname", "x"); }},
        {"unknown field", [&] { return kora_set_ascii(h, "DeviceIdList", 0, "DeviceHostnamE", "x"); }},
        {"field of another table", [&] { return kora_set_ascii(h, "DeviceIdList", 0, "ConnSSID", "x"); }},
        {"empty names", [&] { return kora_set_ascii(h, "", 0, "", "x"); }},
        {"beginning of a name", [&] { return kora_set_ascii(h, "DeviceIdList", 0, "DeviceHostnam", "x"); }},
        {"long name", [&] { return kora_set_ascii(h, "DeviceIdList", 0, long_text.c_str(), "x"); }},
        {"row -1", [&] { return kora_set_ascii(h, "DeviceIdList", -1, "DeviceHostname", "x"); }},
        {"row 256", [&] { return kora_set_ascii(h, "DeviceIdList", 256, "DeviceHostname", "x"); }},
        {"row 1 of a single row", [&] { return kora_set_ascii(h, "general", 1, "SARNSyncTimestamp", "x"); }},
        {"long text", [&] { return kora_set_ascii(h, "DeviceIdList", 0, "DeviceHostname", long_text.c_str()); }},
        {"ascii into enum", [&] { return kora_set_ascii(h, "Sarnsignature", 0, "Devicestate", "x"); }},
        {"enum into ascii", [&] { return kora_set_enum(h, "DeviceIdList", 0, "DeviceHostname", "x"); }},
        {"string into ascii", [&] { return kora_set_string(h, "DeviceIdList", 0, "DeviceHostname", "x"); }},
        {"ascii from string", [&] { return kora_get_ascii(h, "DeviceIdList", 0, "DisplayNameCustom", buffer, 8); }},
        {"enum from ascii", [&] { return kora_get_enum(h, "DeviceIdList", 0, "DeviceHostname", buffer, 8); }},
        {"mac into ascii", [&] { return kora_set_mac(h, "DeviceIdList", 0, "DeviceHostname", six); }},
        {"ipv4 from mac", [&] { return kora_get_ipv4(h, "Sarnsignature", 0, "DeviceMAC", bytes); }},
        {"uint into int", [&] { return kora_set_uint(h, "DeviceIdList", 0, "Producerid", 1); }},
        {"int into uint", [&] { return kora_set_int(h, "BRIXConfig", 0, "ProcessId", 1); }},
        {"uint from bool", [&] { return kora_get_uint(h, "FeatureCfg", 0, "NDNEnable", &number); }},
        {"bool into int", [&] { return kora_set_bool(h, "DeviceIdList", 0, "Producerid", 1); }},
    };
    for (const auto &c : cases) EXPECT_NE(c.call(), 0) << c.name;
    EXPECT_EQ(text(), "kept");
    EXPECT_STREQ(buffer, "as was");
    EXPECT_EQ(bytes[0] + number, 18U);
    EXPECT_EQ(last_transaction(path), before);
}

TEST_F(Fields, ValuesAreCutOrMadeToFit) {
    ASSERT_EQ(set("router"), 0);
    for (const int32_t size : {1, 6, 7, 8}) {
        char buffer[16];
        memset(buffer, '#', sizeof buffer);
        EXPECT_EQ(kora_get_ascii(handle, "DeviceIdList", 0, "DeviceHostname", buffer, size), 0) << size;
        EXPECT_EQ(buffer, std::string("router").substr(0, static_cast<size_t>(size) - 1)) << size;
        EXPECT_EQ(buffer[std::max(size, 1)], '#') << size;
    }
    const std::string longest(KORA_TEXT_MAX, '\xff');
    EXPECT_EQ(set(longest), 0);
    EXPECT_EQ(text(), longest);

    char state[8];
    uint8_t flag = 9;
    EXPECT_EQ(kora_get_ascii(handle, "Sarnsignature", 255, "Devicestate", state, sizeof state), 0);
    EXPECT_STREQ(state, "unknown") << "an enum reads as a text too";
    EXPECT_EQ(kora_set_bool(handle, "FeatureCfg", 0, "NDNEnable", 256), 0);
    EXPECT_EQ(kora_get_bool(handle, "FeatureCfg", 0, "NDNEnable", &flag), 0);
    EXPECT_EQ(flag, 1) << "anything true";
}

TEST_F(Fields, WhatChangesNothingStartsNoTransaction) {
    ASSERT_EQ(set("same"), 0);
    const size_t before = last_transaction(path);
    EXPECT_EQ(set("same"), 0);
    EXPECT_EQ(set("", "DeviceModel"), 0);
    EXPECT_EQ(kora_set_int(handle, "DeviceIdList", 7, "Producerid", 100), 0);
    EXPECT_EQ(last_transaction(path), before);
    EXPECT_EQ(set("sam"), 0);
    EXPECT_EQ(last_transaction(path), before + 1);
    EXPECT_EQ(text(), "sam");
}

TEST(Addresses, AreReadWholeOrNotAtAll) {
    const struct {
        const char *text;
        const char *bytes;  // null where the text is no address
    } macs[] = {{"aA:00:ff:10:0b:C1", "\xaa\x00\xff\x10\x0b\xc1"},
                {"aa:00:ff:10:0b:c1 ", nullptr},
                {"aa:00:ff:10:0b:c", nullptr},
                {"aa:00:ff:10:0b:cg", nullptr},
                {"aa-00:ff:10:0b:c1", nullptr},
                {"aa:00:ff:10:0b:\xb1"
                 "1",
                 nullptr},
                {"", nullptr},
                {nullptr, nullptr}},
      ips[] = {{"192.168.001.255", "\xc0\xa8\x01\xff"},
               {"0.0.0.0", "\0\0\0\0"},
               {"1.2.3.256", nullptr},
               {"1.2.3", nullptr},
               {"1.2.3.4.5", nullptr},
               {"1.2.3.4 ", nullptr},
               {" 1.2.3.4", nullptr},
               {"1..2.3", nullptr},
               {"1.2.3.", nullptr},
               {"1.2.3.0004", nullptr},
               {"1.2.3.+4", nullptr},
               {"4294967297.2.3.4", nullptr},
               {"0x1.2.3.4", nullptr},
               {"", nullptr},
               {nullptr, nullptr}};
    const auto check = [](const auto &c, auto convert, size_t size) {
        uint8_t bytes[6] = {7, 7, 7, 7, 7, 7};
        const char *untouched = "\7\7\7\7\7\7";
        EXPECT_EQ(convert(c.text, bytes) == 0, c.bytes != nullptr) << (c.text != nullptr ? c.text : "null");
        EXPECT_EQ(memcmp(bytes, c.bytes != nullptr ? c.bytes : untouched, size), 0)
            << (c.text != nullptr ? c.text : "null");
    };
    for (const auto &c : macs) check(c, kora_string2mac, 6);
    for (const auto &c : ips) check(c, kora_string2ipv4, 4);
    EXPECT_NE(kora_string2mac("aa:00:ff:10:0b:c1", nullptr), 0);
    EXPECT_NE(kora_string2ipv4("1.2.3.4", nullptr), 0);
}

}  // namespace
