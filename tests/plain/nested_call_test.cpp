// Store functions that call the library, though they should not. With groups a rebuild reads inside one, and whoever
// calls there loses what he writes.
#include <unistd.h>

#include "support/library_test.h"

TEST_F(LibraryTest, ACallFromTheMiddleOfARebuildIsAnsweredThereAndLeavesTheLocks) {
    put_device(3, DEVICE);
    fake::set("general", 0, "SARNSyncTimestamp", "1");
    start();
    device_info record;
    const std::pair<std::function<int()>, int> calls[] = {
        {create_mapping_table, SARN_ERR_BUILD_RUNNING},
        {get_total_sarn_entries_used, SARN_ERR_NOT_INITIALISED},
        {[&] { return get_device_info_at_index(&record, 3); }, SARN_ERR_NOT_INITIALISED},
        {[] { return report(DEVICE); }, SARN_ERR_NOT_INITIALISED},
        {[] { return set_sarn_upgrade_status(1); }, SARN_ERR_NOT_INITIALISED},
    };
    alarm(60);  // a lock that was not given back is waited for without end
    for (const auto &[call, answer] : calls) {
        int answered = SARN_OK;
        fake::on_operation([&, &call = call](const std::string &line) {
            if (line != "get Sarnsignature 3 Devicestate" || answered != SARN_OK) return;
            answered = 1;
            answered = call();
        });
        EXPECT_EQ(get_total_sarn_entries_used(), 1);
        EXPECT_EQ(answered, answer);
        EXPECT_EQ(get_device_info_at_index(&record, 3), SARN_OK);
    }
    alarm(0);
    fake::on_operation(nullptr);
}
