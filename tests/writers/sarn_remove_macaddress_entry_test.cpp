#include "support/library_test.h"

class RemoveMacaddressEntry : public LibraryTest {};

TEST_F(RemoveMacaddressEntry, ForgetsWhatIsNotUp) {
    for (const std::string state : {"UP", "up", "DOWN", "unknown"}) {
        const bool is_up = state == "UP";
        SetUp();
        put_devices(6);
        put_device(4, "02:00:00:00:00:0A", state);
        start();
        EXPECT_EQ(sarn_remove_macaddress_entry("02:00:00:00:00:0a"), is_up ? SARN_ERR_DEVICE_UP : SARN_OK) << state;
        EXPECT_EQ(mac_in(4), is_up ? "02:00:00:00:00:0A" : NO_DEVICE) << state;
        EXPECT_EQ(get_total_sarn_entries_used(), is_up ? 6 : 5) << state;
        EXPECT_EQ(report("02:00:00:00:00:0B"), SARN_OK);
        EXPECT_EQ(find_row("02:00:00:00:00:0B"), is_up ? 6 : 4) << "the freed row is taken again";
        TearDown();
    }
}

TEST_F(RemoveMacaddressEntry, Refusals) {
    EXPECT_EQ(sarn_remove_macaddress_entry("02:00:00:00:00:01"), SARN_ERR_NOT_INITIALISED);
    put_device(0, mac_of(1), "DOWN");
    start();
    for (const char *mac : {static_cast<const char *>(nullptr), NO_DEVICE, "AA-BB-CC-DD-EE-FF", ""}) {
        EXPECT_EQ(sarn_remove_macaddress_entry(mac), SARN_ERR_MAC);
    }
    EXPECT_EQ(sarn_remove_macaddress_entry("02:00:00:00:00:99xyz"), SARN_ERR_NO_ROW);
    EXPECT_NE(fake::take_journal().back().find("devicemac:02:00:00:00:00:99x \n"), std::string::npos);
    EXPECT_EQ(sarn_remove_macaddress_entry((mac_of(1) + std::string(10000, '%')).c_str()), SARN_OK);

    removal_request lying = {"", 2000000000};
    std::memset(lying.mac, '%', sizeof lying.mac);
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, nullptr, sarn_remove_macaddress_entry_handler, &lying), 0);
    (void)pthread_join(thread, nullptr);
    EXPECT_EQ(sig_thread_exit_status, SARN_ERR_NO_ROW);
}
