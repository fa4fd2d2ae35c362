#include <vector>

#include "core/row_bitmap.h"
#include "support/library_test.h"

namespace {

signature_record full_report(const std::string &mac, const char *state) {
    signature_record record = signature_of(mac, state);
    set_text(record.hua, "agent");
    set_text(record.dhcp_hostname, "kitchen");
    set_text(record.dhcp_vendor, "MSFT 5.0");
    set_text(record.dhcp_options, "1,3,6");
    set_text(record.connection_interface, "wlan0");
    set_text(record.category, "phone");
    return record;
}

}  // namespace

class UpdateDeviceSignature : public LibraryTest {};

TEST_F(UpdateDeviceSignature, StoresAFullReportInOrder) {
    start();
    const signature_record report = full_report("02:00:00:00:00:0a", "DOWN");
    ASSERT_EQ(update_device_signature(&report, 20), SARN_OK);
    EXPECT_EQ(
        take_row_writes(),
        (std::vector<std::string>{
            "set_ascii Sarnsignature 0 DeviceDHCPOptions 1,3,6", "set_ascii Sarnsignature 0 DeviceDHCPVendor MSFT 5.0",
            "set_ascii Sarnsignature 0 DeviceDHCPHostname kitchen", "set_ascii DeviceIdList 0 DeviceHostname kitchen",
            "set_ascii DeviceIdList 0 DisplayNameDPI kitchen", "set_ascii Sarnsignature 0 DeviceHua agent",
            "set_ascii Sarnsignature 0 DeviceConnectionInterface wlan0",
            "set_ascii Sarnsignature 0 DeviceCategory phone", "set_enum Sarnsignature 0 Devicestate DOWN",
            "set_int Sarnsignature 0 Producerid 20", "set_ipv4 Sarnsignature 0 DeviceIP 192.168.1.7",
            "set_ascii DeviceIdList 0 Timestamp", "set_bool Sarnsignature 0 SARNSignatureUpdateStatus 1"}));
    EXPECT_EQ(fake::get("Sarnsignature", 0, "DeviceMAC"), "02:00:00:00:00:0A");
    EXPECT_STREQ(report.mac, "02:00:00:00:00:0a") << "the caller's record is not changed";
    EXPECT_EQ(gc_epochtime_array[0].row, 0);
    EXPECT_EQ(producer, 20);
    EXPECT_EQ(sig_thread_exit_status, SARN_OK);
}

TEST_F(UpdateDeviceSignature, EmptyTextsKeepOrClear) {
    put_device(0, mac_of(1));
    for (const char *field : {"DeviceDHCPOptions", "DeviceDHCPVendor", "DeviceDHCPHostname", "DeviceHua",
                              "DeviceConnectionInterface", "DeviceCategory"}) {
        fake::set("Sarnsignature", 0, field, "old");
    }
    start();
    signature_record report = signature_of(mac_of(1));
    set_text(report.dhcp_vendor, "new");
    ASSERT_EQ(update_device_signature(&report, 0), SARN_OK);
    for (const char *kept : {"DeviceDHCPOptions", "DeviceDHCPVendor", "DeviceDHCPHostname", "DeviceHua"}) {
        EXPECT_EQ(fake::get("Sarnsignature", 0, kept), "old") << kept;
    }
    EXPECT_EQ(fake::get("Sarnsignature", 0, "DeviceConnectionInterface"), "");
    EXPECT_EQ(fake::get("Sarnsignature", 0, "DeviceCategory"), "");
}

TEST_F(UpdateDeviceSignature, StateDecidesTheOfflineBit) {
    fake::set("general", 0, "SARNSyncTimestamp", "-1");
    put_device(0, mac_of(1));
    start();
    for (const auto &[state, is_offline] :
         {std::pair{"DOWN", true}, {"down", false}, {"unknown", true}, {"UP", false}}) {
        const signature_record report = signature_of(mac_of(1), state);
        ASSERT_EQ(update_device_signature(&report, 0), SARN_OK);
        EXPECT_EQ(sarn::has_row(sarn::offline_bitmap, 0), is_offline) << state;
    }
}

TEST_F(UpdateDeviceSignature, RefusalsWriteNothing) {
    put_device(0, mac_of(1));
    fake::set("general", 0, "SARNSyncTimestamp", "-1");
    start();
    const auto with = [](auto change) {
        signature_record record = full_report(mac_of(1), "UP");
        change(record);
        return record;
    };
    struct {
        const char *name;
        signature_record record;
        int producer, result;
    } const cases[] = {
        {"producer 5", with([](auto &) {}), 5, SARN_ERR_PRODUCER},
        {"producer 110", with([](auto &) {}), 110, SARN_ERR_PRODUCER},
        {"no device's MAC", with([](auto &r) { set_text(r.mac, "00:00:00:00:00:00"); }), 0, SARN_ERR_MAC},
        {"dashes", with([](auto &r) { set_text(r.mac, "02-00-00-00-00-01"); }), 0, SARN_ERR_MAC},
        {"directives", with([](auto &r) { set_text(r.mac, "%n%s%n%s%n%s"); }), 0, SARN_ERR_MAC},
        {"IP out of range", with([](auto &r) { set_text(r.ip, "256.1.1.1"); }), 0, SARN_ERR_IP},
        {"IP without NUL", with([](auto &r) { std::memcpy(r.ip, "255.255.255.0255", sizeof r.ip); }), 0, SARN_ERR_IP},
        {"hua without NUL", with([](auto &r) { std::memset(r.hua, 'h', sizeof r.hua); }), 0, SARN_ERR_UNTERMINATED},
        {"state without NUL", with([](auto &r) { std::memset(r.state, 'U', sizeof r.state); }), 0,
         SARN_ERR_UNTERMINATED},
        {"producer 30, unknown MAC", with([](auto &r) { set_text(r.mac, "02:00:00:00:00:99"); }), 30, SARN_ERR_NO_ROW},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(update_device_signature(&c.record, c.producer), c.result) << c.name;
        EXPECT_TRUE(take_row_writes().empty()) << c.name;
    }
    EXPECT_EQ(update_device_signature(nullptr, 0), SARN_ERR_NULL_RECORD);
}

TEST_F(UpdateDeviceSignature, MacWithoutNulCountsBySeventeenCharacters) {
    start();
    signature_record report = signature_of(mac_of(1));
    report.mac[17] = 'x';
    ASSERT_EQ(update_device_signature(&report, 0), SARN_OK);
    EXPECT_EQ(fake::get("Sarnsignature", 0, "DeviceMAC"), mac_of(1));
}

TEST_F(UpdateDeviceSignature, CleansUpACrowdedTableEvenWithoutARow) {
    put_devices(256);
    put_device(40, mac_of(40), "DOWN", "5");
    fake::set("general", 0, "SARNSyncTimestamp", "-1");
    mappingtablestatus = 0;  // the start builds nothing, so its clean-up has nothing to do
    start();
    mappingtablestatus = 1;
    ASSERT_EQ(create_mapping_table(), 256);
    const signature_record report = signature_of(mac_of(700));
    EXPECT_EQ(update_device_signature(&report, 0), SARN_ERR_NO_ROW);
    EXPECT_EQ(fake::get("Sarnsignature", 40, "DeviceMAC"), "00:00:00:00:00:00");
    EXPECT_EQ(update_device_signature(&report, 0), SARN_OK);
    EXPECT_EQ(fake::get("Sarnsignature", 40, "DeviceMAC"), mac_of(700));
}

TEST_F(UpdateDeviceSignature, WithoutAThreadSaysSoAndWritesNothing) {
    put_device(0, mac_of(1));
    fake::set("general", 0, "SARNSyncTimestamp", "-1");
    start();
    const signature_record report = full_report(mac_of(1), "UP");
    fake::fail_threads(true);
    EXPECT_EQ(update_device_signature(&report, 0), SARN_ERR_THREAD);
    fake::fail_threads(false);
    const auto journal = fake::take_journal();
    ASSERT_FALSE(journal.empty());
    EXPECT_EQ(journal.back().rfind("log 4 SARN:Preprocessor thread creation failed with status ", 0), 0U)
        << journal.back();
    EXPECT_EQ(update_device_signature(&report, 0), SARN_OK);
}

TEST_F(UpdateDeviceSignature, HandlerRunsOnAHostsOwnThread) {
    start();
    signature_request request = {signature_of("02:00:00:00:00:0b"), 5};
    pthread_t thread;
    void *cell = nullptr;
    ASSERT_EQ(pthread_create(&thread, nullptr, update_device_signature_handler, &request), 0);
    ASSERT_EQ(pthread_join(thread, &cell), 0);
    EXPECT_EQ(cell, &sig_thread_exit_status);
    EXPECT_EQ(sig_thread_exit_status, SARN_ERR_PRODUCER);
}
