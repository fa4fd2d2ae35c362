#include "support/library_test.h"

class RemoveMacaddressEntry : public LibraryTest {};

TEST_F(RemoveMacaddressEntry, ForgetsWhatIsNotUp) {
    const std::pair<const char *, int> states[] = {
        {"UP", SARN_ERR_DEVICE_UP}, {"up", SARN_OK}, {"DOWN", SARN_OK}, {"unknown", SARN_OK}};
    for (const auto &[state, result] : states) {
        SetUp();
        put_devices(6);
        put_device(4, "02:00:00:00:00:0A", state);
        start();
        EXPECT_EQ(sarn_remove_macaddress_entry("02:00:00:00:00:0a"), result) << state;
        const bool is_gone = result == SARN_OK;
        EXPECT_EQ(fake::get("Sarnsignature", 4, "DeviceMAC") == "00:00:00:00:00:00", is_gone) << state;
        EXPECT_EQ(get_total_sarn_entries_used(), is_gone ? 5 : 6) << state;
        EXPECT_EQ(sarn_remove_macaddress_entry("02:00:00:00:00:0a"), is_gone ? SARN_ERR_NO_ROW : result) << state;
        const signature_record report = signature_of("02:00:00:00:00:0B");
        EXPECT_EQ(update_device_signature(&report, 0), SARN_OK);
        EXPECT_EQ(find_row("02:00:00:00:00:0B"), is_gone ? 4 : 6) << "the freed row is taken again";
        (void)sarn_uninit();
    }
}

TEST_F(RemoveMacaddressEntry, Refusals) {
    EXPECT_EQ(sarn_remove_macaddress_entry("02:00:00:00:00:01"), SARN_ERR_NOT_INITIALISED);
    put_device(0, mac_of(1), "DOWN");
    start();
    for (const char *mac : {static_cast<const char *>(nullptr), "00:00:00:00:00:00", "AA-BB-CC-DD-EE-FF", ""}) {
        EXPECT_EQ(sarn_remove_macaddress_entry(mac), SARN_ERR_MAC);
    }
    (void)fake::take_journal();
    EXPECT_EQ(sarn_remove_macaddress_entry("02:00:00:00:00:99xyz"), SARN_ERR_NO_ROW);
    const auto journal = fake::take_journal();
    EXPECT_NE(journal.back().find("devicemac:02:00:00:00:00:99x \n"), std::string::npos) << journal.back();
    EXPECT_EQ(sarn_remove_macaddress_entry((mac_of(1) + std::string(10000, '%')).c_str()), SARN_OK);

    removal_request lying = {"02:00:00:00:00:0", 2000000000};
    std::memset(lying.mac, '%', sizeof lying.mac);
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, nullptr, sarn_remove_macaddress_entry_handler, &lying), 0);
    (void)pthread_join(thread, nullptr);
    EXPECT_EQ(sig_thread_exit_status, SARN_ERR_NO_ROW);
}
