#include "support/library_test.h"

class Flags : public LibraryTest {};

TEST_F(Flags, UpgradeMovesTheFirmwareSwitchOnce) {
    start();
    struct {
        const char *old_flag, *old_switch;
        uint8_t flag;
        const char *new_switch;
    } const cases[] = {
        {"0", "init", 1, "switched"}, {"0", "INIT", 1, "switched"}, {"0", "Init", 1, "Init"},
        {"1", "init", 1, "init"},     {"1", "init", 0, "init"},     {"0", "init", 0, "init"},
    };
    uint8_t flag = 9;
    for (const auto &c : cases) {
        fake::set("General", 0, "SARNTableupgradestatus", c.old_flag);
        fake::set("SarnFWupgrade", 0, "FWStatusswitch", c.old_switch);
        EXPECT_EQ(set_sarn_upgrade_status(c.flag), SARN_OK);
        EXPECT_EQ(fake::get("SarnFWupgrade", 0, "FWStatusswitch"), c.new_switch) << c.old_flag << c.old_switch;
        EXPECT_EQ(get_sarn_upgrade_status(&flag), SARN_OK);
        EXPECT_EQ(flag, c.flag);
    }
    fake::fail_field("SarnFWupgrade", 0, "FWStatusswitch");
    EXPECT_EQ(set_sarn_upgrade_status(1), SARN_STORE_FAILED);
    EXPECT_EQ(fake::get("General", 0, "SARNTableupgradestatus"), "1") << "the flag was written before";
    fake::fail_field("General", 0, "SARNTableupgradestatus");
    EXPECT_EQ(get_sarn_upgrade_status(&flag), SARN_STORE_FAILED);
    EXPECT_EQ(get_sarn_upgrade_status(nullptr), SARN_STORE_FAILED);
}

TEST_F(Flags, RefreshWaitsForInternetAndForTheOneThatRuns) {
    EXPECT_EQ(sarn_weekly_refresh_request(), SARN_ERR_NOT_INITIALISED);
    EXPECT_EQ(fake::operations(), 0);
    start();
    struct {
        const char *internet, *progress;
        int result;
    } const cases[] = {
        {"down", "", SARN_ERR_INTERNET_DOWN},  {"unknown", "", SARN_ERR_INTERNET_DOWN}, {"DOWN", "", SARN_OK},
        {"up", "going", SARN_REFRESH_RUNNING}, {"up", "GOING", SARN_REFRESH_RUNNING},   {"up", "Going", SARN_OK},
    };
    for (const auto &c : cases) {
        fake::set("general", 0, "Internetstatus", c.internet);
        fake::set("sarngeneral", 0, "RefreshComplete", c.progress);
        fake::set("sarngeneral", 0, "WeeklyRefreshType", "");
        EXPECT_EQ(sarn_weekly_refresh_request(), c.result) << c.internet << c.progress;
        EXPECT_EQ(fake::get("sarngeneral", 0, "WeeklyRefreshType"), c.result == SARN_OK ? "forced" : "");
    }
    fake::fail_field("general", 0, "Internetstatus");
    fake::fail_field("sarngeneral", 0, "RefreshComplete");
    EXPECT_EQ(sarn_weekly_refresh_request(), SARN_OK) << "what cannot be read does not refuse";
}

TEST_F(Flags, AccessSwitch) {
    EXPECT_EQ(sarn_get_ACL(), SARN_ERR_NOT_INITIALISED);
    EXPECT_EQ(sarn_set_ACL(1), SARN_ERR_NOT_INITIALISED);
    start();
    EXPECT_EQ(sarn_get_ACL(), 0);
    EXPECT_EQ(sarn_set_ACL(1), SARN_OK);
    EXPECT_EQ(sarn_get_ACL(), 1);
    fake::fail_field("FeatureCfg", 0, "ACLEnable");
    EXPECT_EQ(sarn_get_ACL(), SARN_ERR_ACL_READ);
    EXPECT_EQ(sarn_set_ACL(0), SARN_STORE_FAILED);
}
