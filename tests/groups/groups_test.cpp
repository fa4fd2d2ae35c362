// Another process comes between what a call looked up and the group in which it writes.
#include <functional>

#include "core/row_bitmap.h"
#include "support/library_test.h"

namespace {

constexpr const char *MAC = "02:00:00:00:00:03";

template <typename Record>
Record record_of(const char *mac) {
    Record record = {};
    set_text(record.mac, mac);
    return record;
}

}  // namespace

class Groups : public LibraryTest {
protected:
    void SetUp() override {
        LibraryTest::SetUp();
        FingPostProcessorName = FingPostProcessorType = 0;
        put_devices(6);
        put_device(3, MAC, "DOWN", "5");
    }
    // Once, before the next writing group begins.
    void before_next_write(std::function<void()> other_process) {
        fake::on_operation([other_process, done = std::make_shared<bool>(false)](const std::string &line) {
            if (line != "begin writing" || *done) return;
            *done = true;
            other_process();
        });
    }
    static void remove_device() { put_device(3, "00:00:00:00:00:00", "unknown"); }
    static void replace_device() { put_device(3, mac_of(99), "UP"); }
};

TEST_F(Groups, CreationFindsItsRowTakenOrItsMacElsewhere) {
    const signature_record report = signature_of(mac_of(50));
    start();
    before_next_write([] { put_device(6, mac_of(60)); });
    EXPECT_EQ(update_device_signature(&report, 0), SARN_OK);
    EXPECT_EQ(fake::get("Sarnsignature", 6, "DeviceMAC"), mac_of(60));
    EXPECT_EQ(find_row(mac_of(50)), 7);

    const signature_record raced = signature_of(mac_of(51));
    before_next_write([] { put_device(9, mac_of(51)); });
    EXPECT_EQ(update_device_signature(&raced, 0), SARN_OK);
    EXPECT_EQ(find_row(mac_of(51)), 9);
    EXPECT_EQ(fake::get("Sarnsignature", 8, "DeviceMAC"), "00:00:00:00:00:00");
    EXPECT_EQ(get_total_sarn_entries_used(), 9);
}

TEST_F(Groups, ReportOfARemovedDeviceBeginsAgain) {
    start();
    const signature_record report = signature_of(MAC);
    before_next_write(remove_device);
    EXPECT_EQ(update_device_signature(&report, 0), SARN_OK);
    EXPECT_EQ(fake::get("Sarnsignature", 3, "DeviceMAC"), MAC) << "a new row, the lowest free one";
    before_next_write(replace_device);
    EXPECT_EQ(update_device_signature(&report, 0), SARN_OK);
    EXPECT_EQ(fake::get("Sarnsignature", 3, "DeviceIP"), "192.168.1.7") << "from before";
    EXPECT_EQ(fake::get("DeviceIdList", 3, "DeviceMAC"), mac_of(99));
    EXPECT_EQ(find_row(MAC), 6);
}

TEST_F(Groups, OtherWritersRefuseALostDeviceAndWriteNothing) {
    const auto connection = record_of<connected_device_record>(MAC);
    const auto detail = record_of<device_detail_record>(MAC);
    struct {
        const char *name;
        std::function<int()> call;
        int result;
    } const cases[] = {
        {"connection", [&] { return update_connected_device_info(&connection, 0); }, SARN_ERR_NO_ROW},
        {"detail", [&] { return update_device_detail(&detail, 0); }, SARN_ERR_NO_ROW},
        {"field", [] { return sarn_update_table_field(MAC, SARN_FIELD_SSID, "x", 2, 0); }, SARN_ERR_NO_ROW},
        {"access", [] { return sarn_update_table_field(MAC, SARN_FIELD_ALLOW_OR_BLOCK, "block", 6, 0); },
         SARN_ERR_NO_ROW},
        {"removal", [] { return sarn_remove_macaddress_entry(MAC); }, SARN_ERR_NO_ROW},
        {"name", [] { return update_device_displayname(MAC, "x", 1, 0); }, SARN_ERR_UNKNOWN_DEVICE},
        {"type", [] { return update_device_displaytype(MAC, "x", 1, 0); }, SARN_ERR_UNKNOWN_DEVICE},
        {"model", [] { return update_device_displaymodel(MAC, "x", 1, 0); }, SARN_ERR_UNKNOWN_DEVICE},
        {"brand", [] { return update_device_displaybrand(MAC, "x", 1, 0); }, SARN_ERR_UNKNOWN_DEVICE},
        {"pause",
         [] {
             const char *mac = MAC;
             return sarn_update_pause_list(&mac, 0, 1, 0);
         },
         SARN_ERR_NOTHING_CHANGED},
    };
    for (const auto &c : cases) {
        for (const auto other_process : {remove_device, replace_device}) {
            SetUp();
            start();
            before_next_write(other_process);
            EXPECT_EQ(c.call(), c.result) << c.name;
            EXPECT_TRUE(take_row_writes().empty()) << c.name;
            EXPECT_EQ(fake::group_violations(), 0) << c.name;
            (void)sarn_uninit();
        }
    }
}

TEST_F(Groups, RemovalSeesTheDeviceComeUp) {
    start();
    before_next_write([] { fake::set("Sarnsignature", 3, "Devicestate", "UP"); });
    EXPECT_EQ(sarn_remove_macaddress_entry(MAC), SARN_ERR_DEVICE_UP);
    EXPECT_EQ(fake::get("Sarnsignature", 3, "DeviceMAC"), MAC);
}

TEST_F(Groups, CleanUpSparesWhoCameBack) {
    put_devices(200);
    put_device(3, MAC, "DOWN", "5");
    put_device(4, mac_of(4), "DOWN", "6");
    before_next_write([] { fake::set("Sarnsignature", 3, "Devicestate", "UP"); });
    EXPECT_EQ(sarn_init(), SARN_OK);
    EXPECT_EQ(fake::get("Sarnsignature", 3, "DeviceMAC"), MAC);
    EXPECT_EQ(fake::get("Sarnsignature", 4, "DeviceMAC"), "00:00:00:00:00:00");
}

TEST_F(Groups, OneProcessAloneRemovesDuplicates) {
    fake::set("sarngeneral", 0, "MappingComplete", "init");
    put_device(4, MAC, "UP", "9");
    before_next_write([] { fake::set("sarngeneral", 0, "MappingComplete", "going"); });
    EXPECT_EQ(sarn_init(), SARN_OK);
    EXPECT_EQ(fake::get("Sarnsignature", 3, "DeviceMAC"), MAC) << "the other process removes it";
    EXPECT_EQ(fake::get("sarngeneral", 0, "MappingComplete"), "going");
}

TEST_F(Groups, BuildMendsAMirrorThatDiffers) {
    fake::set("ConnectDeviceinfo", 2, "DeviceMAC", mac_of(77));
    start();
    EXPECT_EQ(fake::get("ConnectDeviceinfo", 2, "DeviceMAC"), mac_of(2));
}

TEST_F(Groups, ARowIsWrittenWhollyOrNotAtAllWhenTheGroupFails) {
    const signature_record report = signature_of(mac_of(50));
    for (int at = 1;; ++at) {
        SetUp();
        start();
        fake::fail_at(at, false);
        const int result = update_device_signature(&report, 0);
        const bool has_fired = fake::has_fault_fired();
        fake::fail_at(0, false);
        EXPECT_TRUE(result == SARN_OK || result == SARN_ERR_NO_ROW) << at;
        const std::string mac = fake::get("Sarnsignature", 6, "DeviceMAC");
        if (fake::get("DeviceIdList", 6, "Timestamp") != "") {
            EXPECT_EQ(mac, mac_of(50)) << at;
        }
        for (const char *table : {"Sarnsignature", "DeviceIdList"}) {
            // One failed write inside a kept group is ignored, as every failed write is.
            EXPECT_TRUE(fake::get(table, 6, "DeviceMAC") == mac || result == SARN_OK) << at;
        }
        (void)sarn_uninit();
        if (!has_fired) break;
    }
}
