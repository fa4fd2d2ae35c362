#include "support/library_test.h"

class UpdateDeviceSignature : public LibraryTest {};

TEST_F(UpdateDeviceSignature, StoresWhatSaysSomethingAndRefusesWhatIsNotSound) {
    signature_record record = signature_of("02:00:00:00:00:0b", "DOWN");
    const auto send = [&] { return update_device_signature(&record, 20); };
    set_text(record.hua, "agent");
    set_text(record.dhcp_hostname, "kitchen");
    set_text(record.dhcp_vendor, "MSFT 5.0");
    set_text(record.dhcp_options, "1,3,6");
    set_text(record.connection_interface, "wlan0");
    set_text(record.category, "phone");
    expect({}, send, SARN_OK,
           "Sarnsignature 0: DeviceDHCPOptions=1,3,6 DeviceDHCPVendor=MSFT 5.0 DeviceDHCPHostname=kitchen"
           " | DeviceIdList 0: DeviceHostname=kitchen DisplayNameDPI=kitchen | Sarnsignature 0: DeviceHua=agent"
           " DeviceConnectionInterface=wlan0 DeviceCategory=phone Devicestate=DOWN Producerid=20 DeviceIP=192.168.1.7"
           " | DeviceIdList 0: Timestamp | Sarnsignature 0: SARNSignatureUpdateStatus=1");
    EXPECT_EQ(producer, 20);
    EXPECT_EQ(gc_epochtime_array[0].row, 0);

    record = signature_of(ASKED);
    set_text(record.dhcp_vendor, "without options");
    record.mac[17] = 'x';  // a MAC counts by its seventeen characters
    expect({}, send, SARN_OK,
           "Sarnsignature 3: DeviceConnectionInterface= DeviceCategory= Devicestate=UP Producerid=20"
           " DeviceIP=192.168.1.7 | DeviceIdList 3: Timestamp | Sarnsignature 3: SARNSignatureUpdateStatus=1");
    for (const char *ip : {"256.1.1.1\0.....", "255.255.255.0255"}) {
        std::memcpy(record.ip, ip, sizeof record.ip);
        expect({}, send, SARN_ERR_IP);
    }
    EXPECT_EQ(update_device_signature(nullptr, 0), SARN_ERR_NULL_RECORD);
    EXPECT_EQ(report("02:00:00:00:00:0b", "UP", SARN_PRODUCER_LOOKUP_ONLY), SARN_ERR_NOT_INITIALISED);
    start();
    EXPECT_EQ(report("02:00:00:00:00:0b", "UP", SARN_PRODUCER_LOOKUP_ONLY), SARN_ERR_NO_ROW);
    EXPECT_EQ(fake::take_log().back(), "4 SARN: Signature update failed status -8\n");
}
