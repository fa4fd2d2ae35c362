#include <functional>

#include "tests/platform/support.h"

namespace {

using sarn::Field;

class Fields : public StoreTest {
protected:
    void SetUp() override {
        StoreTest::SetUp();
        open();
    }
};

TEST_F(Fields, UnwrittenOnesReadAsReset) {
    const std::pair<Field, Value> cases[] = {{Field::sarngeneral_MappingComplete, {.text = "init"}},
                                             {Field::SarnFWupgrade_FWStatusswitch, {.text = "INIT"}},
                                             {Field::DeviceIdList_Producerid, {.number = 100}},
                                             {Field::Sarnsignature_DeviceIP, {}}};
    for (const auto &[field, value] : cases) {
        Value found;
        EXPECT_EQ(read_any(handle, field, 0, found), 0) << sarn::spec_of(field).name;
        EXPECT_TRUE(found == value) << sarn::spec_of(field).name;
    }
}

TEST_F(Fields, RefusedCallsChangeNothing) {
    ASSERT_EQ(set("kept"), 0);
    const size_t before = last_transaction(path);
    void *const h = handle;
    const std::string long_text(KORA_TEXT_MAX + 1, 'x');
    const char *const text_field = "DeviceHostname", *const devices = "DeviceIdList";
    char buffer[8] = "as was";
    uint8_t bytes[6] = {9};
    uint32_t number = 9;
    const struct {
        const char *table;
        int32_t row;
        const char *field, *text;
    } writes[] = {{nullptr, 0, text_field, "null table"},
                  {devices, 0, nullptr, "null field"},
                  {devices, 0, text_field, nullptr},
                  {devices, 0, text_field, long_text.c_str()},
                  {"DeviceIdlist", 0, text_field, "unknown table"},
                  {devices, 0, "DeviceHostnamE", "unknown field"},
                  {devices, 0, "DeviceHostnam", "beginning of a name"},
                  {devices, 0, long_text.c_str(), "long name"},
                  {devices, 0, "ConnSSID", "field of another table"},
                  {"", 0, "", "empty names"},
                  {devices, -1, text_field, "row -1"},
                  {devices, 256, text_field, "row 256"},
                  {"general", 1, "SARNSyncTimestamp", "row 1 of a single row"},
                  {"Sarnsignature", 0, "Devicestate", "ascii into enum"}};
    for (const auto &w : writes)
        EXPECT_NE(kora_set_ascii(h, w.table, w.row, w.field, w.text), 0) << (w.text != nullptr ? w.text : "null text");
    const std::function<int32_t()> others[] = {
        [&] { return kora_set_mac(h, devices, 0, "DeviceMAC", nullptr); },
        [&] { return kora_get_ascii(h, devices, 0, text_field, nullptr, 8); },
        [&] { return kora_get_uint(h, devices, 0, "Producerid", nullptr); },
        [&] { return kora_get_bool(h, "FeatureCfg", 0, "NDNEnable", nullptr); },
        [&] { return kora_get_ascii(h, devices, 0, text_field, buffer, 0); },
        [&] { return kora_get_ascii(h, devices, 0, text_field, buffer, -1); },
        [&] { return kora_set_enum(h, devices, 0, text_field, "x"); },
        [&] { return kora_set_string(h, devices, 0, text_field, "x"); },
        [&] { return kora_get_ascii(h, devices, 0, "DisplayNameCustom", buffer, 8); },
        [&] { return kora_get_enum(h, devices, 0, text_field, buffer, 8); },
        [&] { return kora_set_mac(h, devices, 0, text_field, bytes); },
        [&] { return kora_get_ipv4(h, "Sarnsignature", 0, "DeviceMAC", bytes); },
        [&] { return kora_set_uint(h, devices, 0, "Producerid", 1); },
        [&] { return kora_set_int(h, "BRIXConfig", 0, "ProcessId", 1); },
        [&] { return kora_get_uint(h, "FeatureCfg", 0, "NDNEnable", &number); },
        [&] { return kora_set_bool(h, devices, 0, "Producerid", 1); }};
    for (const auto &call : others) EXPECT_NE(call(), 0) << &call - others;
    EXPECT_EQ(text(), "kept");
    EXPECT_STREQ(buffer, "as was");
    EXPECT_EQ(bytes[0] + number, 18U);
    EXPECT_EQ(last_transaction(path), before);
}

TEST_F(Fields, ValuesAreCutOrMadeToFit) {
    ASSERT_EQ(set("router"), 0);
    for (const size_t size : {1U, 6U, 7U, 8U}) {
        char buffer[16];
        memset(buffer, '#', sizeof buffer);
        EXPECT_EQ(kora_get_ascii(handle, "DeviceIdList", 0, "DeviceHostname", buffer, static_cast<int32_t>(size)), 0);
        EXPECT_EQ(buffer, std::string("router").substr(0, size - 1));
        EXPECT_EQ(buffer[size], '#') << size;
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
    uint8_t bytes[] = {7, 7, 7, 7, 7, 7};
    for (const char *text : {"aa:00:ff:10:0b:c1 ", "aa:00:ff:10:0b:c", "aa:00:ff:10:0b:cg", "aa-00:ff:10:0b:c1",
                             "aa:00:ff:10:0b:\2611", "", static_cast<const char *>(nullptr)})
        EXPECT_NE(kora_string2mac(text, bytes), 0) << (text != nullptr ? text : "null");
    for (const char *text :
         {"1.2.3.256", "1.2.3", "1.2.3.4.5", "1.2.3.4 ", " 1.2.3.4", "1..2.3", "1.2.3.", "1.2.3.0004", "1.2.3.+4",
          "4294967297.2.3.4", "0x1.2.3.4", "", static_cast<const char *>(nullptr)})
        EXPECT_NE(kora_string2ipv4(text, bytes), 0) << (text != nullptr ? text : "null");
    EXPECT_EQ(memcmp(bytes, "\7\7\7\7\7\7", 6), 0) << "written though refused";
    EXPECT_NE(kora_string2mac("aa:00:ff:10:0b:c1", nullptr), 0);
    EXPECT_NE(kora_string2ipv4("1.2.3.4", nullptr), 0);
    EXPECT_EQ(kora_string2mac("aA:00:ff:10:0b:C1", bytes), 0);
    EXPECT_EQ(memcmp(bytes, "\xaa\x00\xff\x10\x0b\xc1", 6), 0);
    EXPECT_EQ(kora_string2ipv4("192.168.001.255", bytes), 0);
    EXPECT_EQ(memcmp(bytes, "\xc0\xa8\x01\xff\x0b\xc1", 6), 0);
    EXPECT_EQ(kora_string2ipv4("0.0.0.0", bytes), 0);
    EXPECT_EQ(memcmp(bytes, "\0\0\0\0", 4), 0);
}

}  // namespace
