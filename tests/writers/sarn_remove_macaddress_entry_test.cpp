#include "support/library_test.h"

class RemoveMacaddressEntry : public LibraryTest {};

TEST_F(RemoveMacaddressEntry, ForgetsWhatIsNotUp) {
    for (const std::string state : {"UP", "up", "unknown"}) {
        const bool is_up = state == "UP";
        SetUp();
        put_devices(6);
        put_device(4, DEVICE, state);
        start();
        EXPECT_EQ(sarn_remove_macaddress_entry(ASKED), is_up ? SARN_ERR_DEVICE_UP : SARN_OK) << state;
        EXPECT_EQ(get_total_sarn_entries_used(), is_up ? 6 : 5) << state;
        EXPECT_EQ(find_row("02:00:00:00:00:0B", 0), is_up ? 6 : 4) << "the freed row is taken again";
        TearDown();
    }
}

TEST_F(RemoveMacaddressEntry, TakesTextsOfAnyLength) {
    start_with_device();
    EXPECT_EQ(sarn_remove_macaddress_entry(nullptr), SARN_ERR_MAC);
    EXPECT_EQ(sarn_remove_macaddress_entry("02:00:00:00:00:99xyz"), SARN_ERR_NO_ROW);
    EXPECT_NE(fake::take_log().back().find("devicemac:02:00:00:00:00:99x \n"), std::string::npos);
    EXPECT_EQ(sarn_remove_macaddress_entry((ASKED + std::string(10000, '%')).c_str()), SARN_ERR_DEVICE_UP);

    removal_request lying = {"", 2000000000};
    std::memset(lying.mac, '%', sizeof lying.mac);
    pthread_t hosts_own;
    void *cell = nullptr;
    ASSERT_EQ(pthread_create(&hosts_own, nullptr, sarn_remove_macaddress_entry_handler, &lying), 0);
    ASSERT_EQ(pthread_join(hosts_own, &cell), 0);
    EXPECT_EQ(cell, &sig_thread_exit_status);
    EXPECT_EQ(sig_thread_exit_status, SARN_ERR_NO_ROW);
}
