// What a host may do to the library: be compiled against the records, define functions of the library's own names,
// share its variables, and pass texts without an end.
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstdlib>

#include "include/sarn.h"
#include "support/device.h"
#include "support/fake_store.h"

extern "C" {
int valid_digit(const char *) { return 0; }
int is_valid_ip(char *) { return 0; }
int32_t check_update_mapping_table(char *, int32_t) { return -77; }
int32_t create_mapping_table(void) { return -77; }
void *update_device_signature_handler(void *) { std::abort(); }
}

namespace {

constexpr char MAC[] = "02:00:00:00:00:01";

template <class Record, class... Members>
void expect_layout(size_t size, Members Record::*...members) {
    const Record record = {};
    const auto places = {static_cast<const void *>(&(record.*members))...};
    EXPECT_TRUE(sizeof record == size && std::ranges::is_sorted(places)) << __PRETTY_FUNCTION__;
}

// The sizes leave no room for gaps.
TEST(Host, FindsTheRecordsAsItWasCompiled) {
    using D = device_info;
    expect_layout(1407, &D::DeviceHua, &D::DeviceDHCPOptions, &D::DeviceDHCPHostname, &D::DeviceDHCPVendor,
                  &D::DeviceHostname, &D::DeviceMacVendor, &D::DisplayNameCustom, &D::DisplayNameDPI,
                  &D::DisplayNameQuorvex, &D::DeviceUUID, &D::DeviceBrand, &D::DeviceCategory, &D::DeviceModel,
                  &D::DeviceOS, &D::DeviceOSVersion, &D::DeviceTypeCustom, &D::DeviceTypeDPI, &D::DeviceTypeQuorvex,
                  &D::DisplayModelCustom, &D::DisplayBrandCustom, &D::FingResponsestatus, &D::DeviceConnectionInterface,
                  &D::IsTagged, &D::ConnSSID, &D::DeviceMAC, &D::ConnAPMac, &D::Timestamp, &D::DeviceIP,
                  &D::Devicestate, &D::AllowOrBlock, &D::DeviceLinkRate, &D::UploadBW, &D::DownloadBW,
                  &D::DeviceSignalStrength, &D::Producerid);
    using S = signature_record;
    expect_layout(560, &S::hua, &S::dhcp_hostname, &S::dhcp_vendor, &S::dhcp_options, &S::connection_interface,
                  &S::category, &S::mac, &S::ip, &S::state);
    using C = connected_device_record;
    expect_layout(104, &C::ssid, &C::mac, &C::ap_mac, &C::link_rate, &C::download_bw, &C::upload_bw,
                  &C::signal_strength);
    using R = device_detail_record;
    expect_layout(345, &R::reserved_1, &R::mac_vendor, &R::reserved_2, &R::model, &R::os, &R::brand, &R::mac, &R::type);
    expect_layout(132, &device_type_row::key, &device_type_row::display, &device_type_row::id);
    expect_layout(8, &gc_candidate::timestamp, &gc_candidate::row);
}

TEST(Host, KeepsItsOwnNamesAndSharesTheVariables) {
    EXPECT_EQ(valid_digit("1"), 0);
    EXPECT_STREQ(__log_file_name, "/tmp/sarnlog");
    EXPECT_TRUE(__log_level == 1 && mappingtablestatus == 1);
    ASSERT_EQ(sarn_init(), SARN_OK);
    EXPECT_EQ(gc_epochtime_array[9].row, -1);
    const signature_record record = signature_of(MAC);
    EXPECT_EQ(update_device_signature(&record, 20), SARN_OK);
    EXPECT_EQ(producer, 20);
    EXPECT_EQ(fake::get("Sarnsignature", 0, "DeviceIP"), "192.168.1.7");

    // The other way: what the host sets, the library sees.
    fake::set("Sarnsignature", 1, "DeviceMAC", "02:00:00:00:00:02");
    mappingtablestatus = 0;
    EXPECT_EQ(get_total_sarn_entries_used(), 1);
    mappingtablestatus = 1;
    EXPECT_EQ(get_total_sarn_entries_used(), 2);
    EXPECT_EQ(sarn_uninit(), SARN_OK);
}

// Right before a page that cannot be read: who reads past the text does not live to tell.
char *endless(size_t size) {
    constexpr size_t PAGE = 4096;
    static char *const pages =
        static_cast<char *>(mmap(nullptr, 2 * PAGE, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    EXPECT_EQ(mprotect(pages + PAGE, PAGE, PROT_NONE), 0);
    return static_cast<char *>(std::memset(pages + PAGE - size, 'A', size));
}

TEST(Host, LivesWhenItsTextsHaveNoEnd) {
    ASSERT_EQ(sarn_init(), SARN_OK);
    const signature_record device = signature_of(MAC, "DOWN");
    ASSERT_EQ(update_device_signature(&device, 0), SARN_OK);
    EXPECT_EQ(sarn_update_table_field(MAC, SARN_FIELD_UUID, endless(256), 256, 0), SARN_OK);
    EXPECT_EQ(sarn_update_table_field(MAC, SARN_FIELD_STATE, endless(1), 1, 0), SARN_OK);
    EXPECT_EQ(sarn_update_table_field(MAC, SARN_FIELD_AP_MAC, endless(17), 17, 0), SARN_ERR_MAC);
    EXPECT_EQ(update_device_displayname(MAC, endless(64), 64, 0), SARN_OK);
    for (const auto set : {update_device_displaytype, update_device_displaymodel, update_device_displaybrand})
        EXPECT_EQ(set(MAC, endless(32), 32, 0), SARN_OK);
    EXPECT_EQ(get_quorvex_device_id(endless(64), 1), 0);

    char *mac = endless(18);  // of the device, and a letter behind it
    std::memcpy(mac, MAC, 17);
    device_info record;
    EXPECT_EQ(checkMacAddr(mac), 0);
    EXPECT_EQ(check_macaddress_entry(mac), 0);
    EXPECT_EQ(get_device_info_by_mac(&record, mac), SARN_OK);
    EXPECT_EQ(sarn_update_pause_list(&mac, 0, 1, 0), SARN_OK);
    EXPECT_EQ(sarn_update_table_field(mac, SARN_FIELD_UUID, "x", 1, 0), SARN_OK);
    EXPECT_EQ(update_device_displayname(mac, "x", 1, 0), SARN_OK);
    EXPECT_EQ(sarn_remove_macaddress_entry(mac), SARN_OK);
    EXPECT_EQ(sarn_uninit(), SARN_OK);
}

}  // namespace
