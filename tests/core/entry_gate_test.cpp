#include "support/library_test.h"

class EntryGate : public LibraryTest {};

TEST_F(EntryGate, RebuildsAsTheSyncTimestampSays) {
    struct {
        const char *stored;
        bool first_sees, second_sees;
    } const cases[] = {
        {"-1", false, false},         {"", true, false},           {"0", true, false}, {"1700000000", true, true},
        {"4294967295", false, false}, {"unreadable", true, false},
    };
    for (const auto &c : cases) {
        SetUp();
        start();
        fake::set("general", 0, "SARNSyncTimestamp", c.stored);
        if (c.stored == std::string("unreadable")) fake::fail_field("general", 0, "SARNSyncTimestamp");
        put_device(4, mac_of(4));
        EXPECT_EQ(get_total_sarn_entries_used(), c.first_sees) << c.stored;
        put_device(5, mac_of(5));
        EXPECT_EQ(get_total_sarn_entries_used(), c.first_sees + c.second_sees) << c.stored;
        TearDown();
    }
}
