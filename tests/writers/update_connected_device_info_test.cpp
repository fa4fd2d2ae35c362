#include "support/library_test.h"

class UpdateConnectedDeviceInfo : public LibraryTest {};

TEST_F(UpdateConnectedDeviceInfo, WritesAllTextsInOrderAndEmptyOnesToo) {
    connected_device_record record = {};
    set_text(record.mac, ASKED);
    set_text(record.ap_mac, "02:aa:00:00:00:01");
    set_text(record.link_rate, "866");
    const auto send = [&] { return update_connected_device_info(&record, 10); };
    const std::string texts =
        "ConnectDeviceinfo 3: ConnSSID= DeviceLinkRate=866 DownloadBW= UploadBW= DeviceSignalStrength=";
    expect({}, send, SARN_OK, texts + " ConnAPMac=02:AA:00:00:00:01");
    set_text(record.ap_mac, "none");
    expect({}, send, SARN_OK, texts);
    EXPECT_EQ(update_connected_device_info(nullptr, 0), SARN_ERR_NULL_RECORD);
}
