#include "support/library_test.h"

class UpdatePauseList : public LibraryTest {
protected:
    int pause(std::vector<const char *> macs, int producer_id = 0) {
        return sarn_update_pause_list(macs.data(), 0, static_cast<uint32_t>(macs.size()), producer_id);
    }
    std::string access(int row) { return fake::get("Sarnsignature", row, "AllowOrBlock"); }
};

TEST_F(UpdatePauseList, PausesResumesAndAnnouncesEachChange) {
    EXPECT_EQ(pause({"02:00:00:00:00:01"}), SARN_ERR_NOT_READY);
    put_devices(4);
    start();
    const auto two = {"02:00:00:00:00:01", "02:00:00:00:00:02"};
    EXPECT_EQ(pause(two), SARN_OK);
    EXPECT_EQ(access(1) + access(2), "blockblock");
    EXPECT_EQ(fake::get("BRIXNotifyCDUPDATE", 0, "IndexCD"), "2");
    EXPECT_EQ(pause(two), SARN_ERR_NOTHING_CHANGED);
    EXPECT_EQ(sarn_update_pause_list(two.begin(), 1, 1, 10), SARN_OK);
    EXPECT_EQ(access(1), "allow");
    EXPECT_EQ(fake::get("BRIXNotifyCDUPDATE", 0, "IndexCD"), "2") << "producer 10 is quiet";
    fake::set("Sarnsignature", 3, "AllowOrBlock", "neither");
    EXPECT_EQ(pause({"02:00:00:00:00:03"}, -10), SARN_OK);
    EXPECT_EQ(access(3), "block");
    fake::fail_field("Sarnsignature", 3, "AllowOrBlock");
    EXPECT_EQ(pause({"02:00:00:00:00:03"}), SARN_OK) << "what cannot be read is neither state";
}

TEST_F(UpdatePauseList, StopsAtABadEntryAndKeepsWhatItDid) {
    put_devices(4);
    start();
    EXPECT_EQ(pause({"02:00:00:00:00:01", "nonsense", "02:00:00:00:00:02"}), SARN_ERR_MAC);
    EXPECT_EQ(access(1) + access(2), "blockallow");
    EXPECT_EQ(pause({nullptr}), SARN_ERR_MAC);
    EXPECT_EQ(pause({"02:00:00:00:00:99"}), SARN_ERR_NOTHING_CHANGED);
    const int before = fake::operations();
    EXPECT_EQ(pause({}), SARN_OK);
    EXPECT_EQ(sarn_update_pause_list(nullptr, 0, 3, 0), SARN_OK);
    EXPECT_EQ(fake::operations(), before);
}
