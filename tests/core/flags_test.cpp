#include "support/library_test.h"

using enum sarn::Field;

class Flags : public LibraryTest {};

TEST_F(Flags, UpgradeMovesTheFirmwareSwitchOnce) {
    const auto raise = [] { return set_sarn_upgrade_status(1); };
    const auto lower = [] { return set_sarn_upgrade_status(0); };
    const std::string one = "General 0: SARNTableupgradestatus=1", zero = "General 0: SARNTableupgradestatus=0";
    const std::string moved = one + " | SarnFWupgrade 0: FWStatusswitch=switched";
    EXPECT_EQ(raise(), SARN_ERR_NOT_INITIALISED);
    for (const char *first : {"init", "INIT"}) expect({{SarnFWupgrade_FWStatusswitch, first}}, raise, SARN_OK, moved);
    expect({{SarnFWupgrade_FWStatusswitch, "Init"}}, raise, SARN_OK, one);
    expect({{General_SARNTableupgradestatus, "1"}}, raise, SARN_OK, one);
    expect({{General_SARNTableupgradestatus, "1"}}, lower, SARN_OK, zero);
    start();
    uint8_t flag = 9;
    fake::fail_field("SarnFWupgrade", 0, "FWStatusswitch");
    EXPECT_EQ(raise(), SARN_STORE_FAILED);
    EXPECT_EQ(get_sarn_upgrade_status(&flag), SARN_OK);
    EXPECT_EQ(flag, 1) << "the flag was written before";
    EXPECT_EQ(get_sarn_upgrade_status(nullptr), SARN_STORE_FAILED);
    fake::fail_field("General", 0, "SARNTableupgradestatus");
    EXPECT_EQ(get_sarn_upgrade_status(&flag), SARN_STORE_FAILED);
}

TEST_F(Flags, RefreshWaitsForInternetAndForTheOneThatRuns) {
    const auto ask = sarn_weekly_refresh_request;
    EXPECT_EQ(ask(), SARN_ERR_NOT_INITIALISED);
    for (const char *none : {"down", "unknown"}) expect({{general_Internetstatus, none}}, ask, SARN_ERR_INTERNET_DOWN);
    for (const char *one : {"going", "GOING"}) expect({{sarngeneral_RefreshComplete, one}}, ask, SARN_REFRESH_RUNNING);
    const Given spelled = {{general_Internetstatus, "DOWN"}, {sarngeneral_RefreshComplete, "Going"}};
    expect(spelled, ask, SARN_OK, "sarngeneral 0: WeeklyRefreshType=forced");
    start();
    fake::fail_field("general", 0, "Internetstatus");
    fake::fail_field("sarngeneral", 0, "RefreshComplete");
    EXPECT_EQ(ask(), SARN_OK) << "what cannot be read does not refuse";
}

TEST_F(Flags, AccessSwitch) {
    EXPECT_EQ(sarn_get_ACL(), SARN_ERR_NOT_INITIALISED);
    EXPECT_EQ(sarn_set_ACL(1), SARN_ERR_NOT_INITIALISED);
    start();
    EXPECT_EQ(sarn_set_ACL(1), SARN_OK);
    EXPECT_EQ(sarn_get_ACL(), 1);
    fake::fail_field("FeatureCfg", 0, "ACLEnable");
    EXPECT_EQ(sarn_get_ACL(), SARN_ERR_ACL_READ);
    EXPECT_EQ(sarn_set_ACL(0), SARN_STORE_FAILED);
}
