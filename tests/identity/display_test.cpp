#include "support/library_test.h"

using enum sarn::Field;

class Display : public LibraryTest {
protected:
    using Call = int32_t (*)(const char *, const char *, int32_t, int32_t);
    static auto set(Call call, const std::string &text, int producer_id = 0, uint8_t is_recognisers = 0) {
        return [=] {
            FingPostProcessorName = FingPostProcessorType = is_recognisers;
            return call(ASKED, text.c_str(), 8, producer_id);
        };
    }
    const std::string notice_ = " | BRIXNotifyCDUPDATE 0: IndexCD=3";
};

TEST_F(Display, NameIsComposedFromWhatIsKnown) {
    const auto compose = [this](const std::string &brand, const std::string &model, const std::string &vendor,
                                const std::string &composed) {
        const Given given = {{DeviceIdList_DeviceBrand, brand},
                             {DeviceIdList_DeviceModel, model},
                             {DeviceIdList_DeviceMacVendor, vendor}};
        const std::string own = "DeviceIdList 3: DisplayNameCustom=mine" + notice_ + " | ";
        const std::string written = "DeviceIdList 3: DisplayNameQuorvex=" + composed;
        expect(given, set(update_device_displayname, "mine"), SARN_OK, own + written);
        expect(given, set(update_device_displayname, "other", 20, 1), SARN_OK, written);
    };
    const std::string wide(32, 'b');
    compose("Acme", "%n", "Vendor", "Acme-%n");
    compose("Acme", "", "Vendor", "Acme");
    compose("", "X1", "Vendor", "X1");
    compose("", "", "Vendor", "Vendor");
    compose("", "", "", "DEV-00:00:0A");
    compose(wide, wide, "", wide + "-" + wide);
}

TEST_F(Display, TypeFoldsForTheRecogniserAndStaysForTheUser) {
    const std::string custom = "DeviceIdList 3: DeviceTypeCustom=", folded = "DeviceIdList 3: DeviceTypeQuorvex=";
    const auto fold = [this](const char *before, const char *type, uint8_t flag, const std::string &writes,
                             uint8_t flag_after) {
        expect({{DeviceIdList_DeviceTypeQuorvex, before}}, set(update_device_displaytype, type, 0, flag), SARN_OK,
               writes);
        EXPECT_EQ(FingPostProcessorType, flag_after) << type;
    };
    fold("TV", "WEBCAM", 1, folded + "Camera", 0);
    fold("", "GARAGE", 1, folded + "IoT (Generic)", 0);  // a key that stands twice
    fold("", "SPACESHIP", 1, folded + "Network (Generic)", 1);
    fold("TV", "SPACESHIP", 1, "", 1);
    for (const char *known : {"WEBCAM", "Camera"}) fold("", known, 0, custom + known, 0);
    for (const char *own : {"Ship", ""}) fold("", own, 0, custom + own + notice_, 0);
}

TEST_F(Display, ModelAndBrandAreTheUsersAlone) {
    for (const bool is_model : {true, false}) {
        const Call call = is_model ? update_device_displaymodel : update_device_displaybrand;
        const char *name = is_model ? "Model" : "Brand";
        const std::string field = "DeviceIdList 3: Display" + std::string(name) + "Custom=";
        expect({}, set(call, std::string(40, 'm')), SARN_OK, field + std::string(32, 'm') + notice_);
        expect({}, set(call, "quiet", -10), SARN_OK, field + "quiet");
        expect({}, set(call, "ignored", 0, 1), SARN_OK, field + notice_);
    }
}

TEST_F(Display, LengthsAndTextsAreChecked) {
    start_with_device();
    for (const Call call : {update_device_displayname, update_device_displaytype, update_device_displaymodel,
                            update_device_displaybrand}) {
        const int limit = call == update_device_displayname ? 64 : 32;
        for (const int length : {limit + 1, -1}) EXPECT_EQ(call(ASKED, "x", length, 0), SARN_ERR_TEXT);
        EXPECT_EQ(call(ASKED, nullptr, 1, 0), SARN_ERR_TEXT);
        EXPECT_EQ(call(nullptr, "x", 1, 0), SARN_ERR_TEXT);
        EXPECT_EQ(take_row_writes(), "");
        EXPECT_EQ(call(ASKED, "x", limit, 0), SARN_OK);
        (void)take_row_writes();
    }
    EXPECT_EQ(post_processor_update("00:11:22:00:00:00", "TV", "", 0), SARN_ERR_POST_PROCESSING);
}
