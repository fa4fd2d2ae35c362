#include "support/library_test.h"

class UpdatePauseList : public LibraryTest {
protected:
    static auto set(uint8_t state, std::vector<const char *> macs, int producer_id = 0) {
        return
            [=] { return sarn_update_pause_list(macs.data(), state, static_cast<uint32_t>(macs.size()), producer_id); };
    }
};

TEST_F(UpdatePauseList, PausesResumesAndAnnouncesEachChangeUpToABadEntry) {
    const auto access = sarn::Field::Sarnsignature_AllowOrBlock;
    const std::string block = "Sarnsignature 3: AllowOrBlock=block", notice = " | BRIXNotifyCDUPDATE 0: IndexCD=3";
    expect({}, set(0, {"02:00:00:00:00:99", ASKED}), SARN_OK, block + notice);
    expect({{access, "block"}}, set(0, {ASKED, ASKED}), SARN_ERR_NOTHING_CHANGED);
    expect({{access, "block"}}, set(1, {ASKED, ASKED}, 10), SARN_OK, "Sarnsignature 3: AllowOrBlock=allow");
    expect({{access, "neither"}}, set(0, {ASKED}, -10), SARN_OK, block);
    expect({}, set(0, {ASKED, "nonsense", "02:00:00:00:00:01"}), SARN_ERR_MAC, block + notice);
    expect({}, set(0, {nullptr}), SARN_ERR_MAC);
    expect({}, set(0, {}), SARN_OK);
    start_with_device();
    EXPECT_EQ(sarn_update_pause_list(nullptr, 0, 3, 0), SARN_OK);
    fake::fail_field("Sarnsignature", 3, "AllowOrBlock");
    EXPECT_EQ(set(0, {ASKED})(), SARN_OK) << "what cannot be read is neither state";
}
