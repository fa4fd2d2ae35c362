#include "core/row_bitmap.h"
#include "support/library_test.h"

class UpdateDeviceSignature : public LibraryTest {
protected:
    void SetUp() override {
        LibraryTest::SetUp();
        put_device(0, mac_of(1));
        stop_rebuilds();
        start();
        set_text(record.hua, "agent");
        set_text(record.dhcp_hostname, "kitchen");
        set_text(record.dhcp_vendor, "MSFT 5.0");
        set_text(record.dhcp_options, "1,3,6");
        set_text(record.connection_interface, "wlan0");
        set_text(record.category, "phone");
    }
    signature_record record = signature_of(mac_of(1), "DOWN");
};

TEST_F(UpdateDeviceSignature, StoresAFullReportInOrder) {
    set_text(record.mac, "02:00:00:00:00:0a");
    ASSERT_EQ(update_device_signature(&record, 20), SARN_OK);
    EXPECT_EQ(
        take_row_writes(),
        (Lines{"set_ascii Sarnsignature 1 DeviceDHCPOptions 1,3,6",
               "set_ascii Sarnsignature 1 DeviceDHCPVendor MSFT 5.0",
               "set_ascii Sarnsignature 1 DeviceDHCPHostname kitchen",
               "set_ascii DeviceIdList 1 DeviceHostname kitchen", "set_ascii DeviceIdList 1 DisplayNameDPI kitchen",
               "set_ascii Sarnsignature 1 DeviceHua agent", "set_ascii Sarnsignature 1 DeviceConnectionInterface wlan0",
               "set_ascii Sarnsignature 1 DeviceCategory phone", "set_enum Sarnsignature 1 Devicestate DOWN",
               "set_int Sarnsignature 1 Producerid 20", "set_ipv4 Sarnsignature 1 DeviceIP 192.168.1.7",
               "set_ascii DeviceIdList 1 Timestamp", "set_bool Sarnsignature 1 SARNSignatureUpdateStatus 1"}));
    EXPECT_EQ(mac_in(1), "02:00:00:00:00:0A");
    EXPECT_STREQ(record.mac, "02:00:00:00:00:0a") << "the caller's record is not changed";
    EXPECT_EQ(gc_epochtime_array[0].row, 1);
    EXPECT_EQ(producer, 20);
    EXPECT_EQ(sig_thread_exit_status, SARN_OK);
}

TEST_F(UpdateDeviceSignature, EmptyTextsKeepOrClear) {
    ASSERT_EQ(update_device_signature(&record, 0), SARN_OK);
    record = signature_of(mac_of(1));
    set_text(record.dhcp_vendor, "without options");
    record.mac[17] = 'x';  // a MAC counts by its seventeen characters
    ASSERT_EQ(update_device_signature(&record, 0), SARN_OK);
    const std::pair<const char *, const char *> fields[] = {
        {"DeviceDHCPOptions", "1,3,6"}, {"DeviceDHCPVendor", "MSFT 5.0"},  {"DeviceDHCPHostname", "kitchen"},
        {"DeviceHua", "agent"},         {"DeviceConnectionInterface", ""}, {"DeviceCategory", ""}};
    for (const auto &[field, value] : fields) EXPECT_EQ(fake::get("Sarnsignature", 0, field), value) << field;
}

TEST_F(UpdateDeviceSignature, RefusalsWriteNothing) {
    struct {
        const char *name;
        signature_record record;
        int producer, result;
    } const cases[] = {
        {"producer 5", record, 5, SARN_ERR_PRODUCER},
        {"producer 110", record, 110, SARN_ERR_PRODUCER},
        {"no device's MAC", with(record, [](auto &r) { set_text(r.mac, NO_DEVICE); }), 0, SARN_ERR_MAC},
        {"dashes", with(record, [](auto &r) { set_text(r.mac, "02-00-00-00-00-01"); }), 0, SARN_ERR_MAC},
        {"directives", with(record, [](auto &r) { set_text(r.mac, "%n%s%n%s%n%s"); }), 0, SARN_ERR_MAC},
        {"IP out of range", with(record, [](auto &r) { set_text(r.ip, "256.1.1.1"); }), 0, SARN_ERR_IP},
        {"endless IP", with(record, [](auto &r) { std::memcpy(r.ip, "255.255.255.0255", 16); }), 0, SARN_ERR_IP},
        {"endless hua", with(record, [](auto &r) { std::memset(r.hua, 'h', sizeof r.hua); }), 0, SARN_ERR_UNTERMINATED},
        {"endless state", with(record, [](auto &r) { std::memset(r.state, 'U', 8); }), 0, SARN_ERR_UNTERMINATED},
        {"unknown to 30", with(record, [](auto &r) { set_text(r.mac, mac_of(9)); }), 30, SARN_ERR_NO_ROW},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(update_device_signature(&c.record, c.producer), c.result) << c.name;
        EXPECT_TRUE(take_row_writes().empty()) << c.name;
    }
    EXPECT_EQ(update_device_signature(nullptr, 0), SARN_ERR_NULL_RECORD);

    fake::fail_threads(true);
    EXPECT_EQ(update_device_signature(&record, 0), SARN_ERR_THREAD);
    fake::fail_threads(false);
    const Lines journal = fake::take_journal();
    ASSERT_FALSE(journal.empty());
    EXPECT_EQ(journal.back().rfind("log 4 SARN:Preprocessor thread creation failed with status ", 0), 0U);
}

TEST_F(UpdateDeviceSignature, CleansUpACrowdedTableEvenWithoutARow) {
    put_devices(256);
    put_device(40, mac_of(40), "DOWN", "5");
    ASSERT_GT(create_mapping_table(), 0);
    EXPECT_EQ(report(mac_of(700)), SARN_ERR_NO_ROW);
    EXPECT_EQ(mac_in(40), NO_DEVICE);
    EXPECT_EQ(report(mac_of(700)), SARN_OK);
    EXPECT_EQ(mac_in(40), mac_of(700));
}

TEST_F(UpdateDeviceSignature, HandlerRunsOnAHostsOwnThread) {
    signature_request request = {record, 5};
    pthread_t thread;
    void *cell = nullptr;
    ASSERT_EQ(pthread_create(&thread, nullptr, update_device_signature_handler, &request), 0);
    ASSERT_EQ(pthread_join(thread, &cell), 0);
    EXPECT_EQ(cell, &sig_thread_exit_status);
    EXPECT_EQ(sig_thread_exit_status, SARN_ERR_PRODUCER);
}
