#include "support/library_test.h"

using enum sarn::Field;

class UpdateDeviceDetail : public LibraryTest {
protected:
    UpdateDeviceDetail() {
        set_text(record.mac, ASKED);
        set_text(record.brand, "Acme");
        set_text(record.model, "X1");
        set_text(record.type, "SMART_PLUG");
    }
    device_detail_record record = {};
    const std::function<int()> send = [this] { return update_device_detail(&record, 20); };
};

TEST_F(UpdateDeviceDetail, StoresDerivesAndNotifiesOnce) {
    const std::string found =
        "DeviceIdList 3: DeviceModel=X1 DeviceBrand=Acme DeviceOS= DeviceTypeDPI=SMART_PLUG DeviceMacVendor= Timestamp "
        "Producerid=20";
    const std::string typed = found + " DeviceTypeQuorvex=Smart Plug", named = typed + " DisplayNameQuorvex=Acme-X1";
    expect({{FeatureCfg_NDNEnable, "1"}}, send, SARN_OK,
           named + " | BRIXConfig 0: FeatureId=1 NewDeviceIndex=3 ProcessId=4 | Sarnsignature 3: NDNEventStatus=1");
    expect({{FeatureCfg_NDNEnable, "1"}, {Sarnsignature_NDNEventStatus, "1"}}, send, SARN_OK, named);
    expect({}, send, SARN_OK, named);

    // The second and third thread, those of display type and name, fail in turn.
    const char *last_line = "set DeviceIdList 3 Producerid 20";
    const auto send_without_thread = [&] {
        fake::on_operation([&](const std::string &line) {
            if (line == last_line) fake::fail_threads(true);
        });
        return send();
    };
    expect({{FeatureCfg_NDNEnable, "1"}}, send_without_thread, SARN_OK, found);
    last_line = "set DeviceIdList 3 DeviceTypeQuorvex Smart Plug";
    expect({{FeatureCfg_NDNEnable, "1"}}, send_without_thread, SARN_OK, typed);

    // Another detail update that clears the flag does not make the type a user's.
    const auto send_beside_another = [this] {
        fake::on_operation([](const std::string &) { FingPostProcessorType = 0; });
        return send();
    };
    expect({}, send_beside_another, SARN_OK, named);
    EXPECT_EQ(update_device_detail(nullptr, 0), SARN_ERR_NULL_RECORD);
    const auto notify = [] { return notifyBrixForNdn(7), SARN_OK; };
    expect({}, notify, SARN_OK, "BRIXConfig 0: FeatureId=1 NewDeviceIndex=7 ProcessId=4");
}

TEST_F(UpdateDeviceDetail, RebuildsWhateverTheTimestampSays) {
    start_with_device();
    put_device(9, "02:00:00:00:00:0B");  // another process' device; the gates are switched off
    set_text(record.mac, "02:00:00:00:00:0b");
    set_text(record.type, "SPACESHIP");
    mappingtablestatus = 0;
    EXPECT_EQ(send(), SARN_ERR_NO_ROW) << "a rebuild that builds nothing knows no row";
    mappingtablestatus = 1;
    EXPECT_EQ(send(), SARN_OK);
    EXPECT_EQ(fake::get("DeviceIdList", 9, "DeviceModel"), "X1");
    EXPECT_EQ(FingPostProcessorName + FingPostProcessorType, 2);
    (void)sarn_uninit();
    EXPECT_EQ(send(), SARN_ERR_NOT_INITIALISED);
    EXPECT_EQ(sarn_init(), SARN_OK) << "the refused rebuild did not mark the library initialised";
}
