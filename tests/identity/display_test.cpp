#include <algorithm>

#include "support/library_test.h"

class Display : public LibraryTest {
protected:
    void SetUp() override {
        LibraryTest::SetUp();
        FingPostProcessorName = FingPostProcessorType = 0;
        put_device(3, "00:11:22:AA:BB:CC");
        stop_rebuilds();
        start();
    }
    static constexpr const char *MAC = "00:11:22:aa:bb:cc";
};

TEST_F(Display, NameIsComposedFromWhatIsKnown) {
    const std::string wide(32, 'b');
    const struct {
        std::string brand, model, vendor, composed;
    } cases[] = {
        {"Acme", "X1", "Vendor", "Acme-X1"}, {"Acme", "", "Vendor", "Acme"}, {"", "X1", "Vendor", "X1"},
        {"", "", "Vendor", "Vendor"},        {"", "", "", "DEV-AA:BB:CC"},   {wide, wide, "", wide + "-" + wide},
        {"%n", "%s", "", "%n-%s"},
    };
    for (const auto &c : cases) {
        fake::set("DeviceIdList", 3, "DeviceBrand", c.brand);
        fake::set("DeviceIdList", 3, "DeviceModel", c.model);
        fake::set("DeviceIdList", 3, "DeviceMacVendor", c.vendor);
        EXPECT_EQ(update_device_displayname(MAC, "mine", 4, 20), SARN_OK);
        EXPECT_EQ(take_row_writes(),
                  (Lines{"set_string DeviceIdList 3 DisplayNameCustom mine", "set_uint BRIXNotifyCDUPDATE 0 IndexCD 3",
                         "set_ascii DeviceIdList 3 DisplayNameQuorvex " + c.composed}));
    }
    FingPostProcessorName = 1;
    EXPECT_EQ(update_device_displayname(MAC, "other", 5, 20), SARN_OK);
    EXPECT_EQ(take_row_writes().size(), 1U) << "the recogniser leaves the user's name alone";
}

TEST_F(Display, TypeFoldsForTheRecogniserAndStaysForTheUser) {
    struct {
        const char *name, *before, *type;
        uint8_t flag;
        const char *field, *stored;
        bool is_announced;
        uint8_t flag_after;
    } const cases[] = {
        {"key", "", "WEBCAM", 1, "DeviceTypeQuorvex", "Camera", false, 0},
        {"key that stands twice", "", "GARAGE", 1, "DeviceTypeQuorvex", "IoT (Generic)", false, 0},
        {"unknown, none before", "", "SPACESHIP", 1, "DeviceTypeQuorvex", "Network (Generic)", false, 1},
        {"unknown, one before", "TV", "SPACESHIP", 1, "DeviceTypeQuorvex", "TV", false, 1},
        {"user's key", "", "WEBCAM", 0, "DeviceTypeCustom", "WEBCAM", false, 0},
        {"user's display type", "", "Camera", 0, "DeviceTypeCustom", "Camera", false, 0},
        {"user's own", "", "Spaceship", 0, "DeviceTypeCustom", "Spaceship", true, 0},
        {"user's empty", "", "", 0, "DeviceTypeCustom", "", true, 0},
    };
    for (const auto &c : cases) {
        fake::set("DeviceIdList", 3, "DeviceTypeQuorvex", c.before);
        FingPostProcessorType = c.flag;
        EXPECT_EQ(update_device_displaytype(MAC, c.type, 8, 0), SARN_OK) << c.name;
        EXPECT_EQ(fake::get("DeviceIdList", 3, c.field), c.stored) << c.name;
        EXPECT_EQ(take_row_writes().size(), c.before[0] == '\0' ? 1U + c.is_announced : 0U) << c.name;
        EXPECT_EQ(FingPostProcessorType, c.flag_after) << c.name;
    }
}

TEST_F(Display, ModelAndBrandDifferInFieldAndLogAlone) {
    const struct {
        int32_t (*call)(const char *, const char *, int32_t, int32_t);
        std::string field;
        int row_lines;
    } cases[] = {{update_device_displaymodel, "DisplayModelCustom", 1},
                 {update_device_displaybrand, "DisplayBrandCustom", 0}};
    for (const auto &c : cases) {
        EXPECT_EQ(c.call(MAC, std::string(40, 'm').c_str(), 32, 0), SARN_OK);
        const Lines journal = fake::take_journal();
        EXPECT_EQ(std::count(journal.begin(), journal.end(), "log 2 SARN:index is 3 \r\n"), c.row_lines);
        EXPECT_EQ(fake::get("DeviceIdList", 3, c.field), std::string(32, 'm'));
        EXPECT_EQ(c.call(MAC, "quiet", 5, -10), SARN_OK);
        EXPECT_EQ(take_row_writes(), Lines{"set_ascii DeviceIdList 3 " + c.field + " quiet"});
        FingPostProcessorName = 1;
        EXPECT_EQ(c.call(MAC, "ignored", 7, 0), SARN_OK);
        EXPECT_EQ(take_row_writes().front(), "set_ascii DeviceIdList 3 " + c.field + " ");
        FingPostProcessorName = 0;
    }
}

TEST_F(Display, RefusalsWriteNothing) {
    const struct {
        const char *name;
        int32_t (*call)(const char *, const char *, int32_t, int32_t);
        int limit;
        std::string thread_log, row_log;
    } calls[] = {{"name", update_device_displayname, 64, "processor Device name", "address "},
                 {"type", update_device_displaytype, 32, "Postprocessor Device type", "address:00:11:22:00:00:00 "},
                 {"model", update_device_displaymodel, 32, "Postprocessor Device name", "address:00:11:22:00:00:00 "},
                 {"brand", update_device_displaybrand, 32, "Postprocessor Device name", "address:00:11:22:00:00:00 "}};
    for (const auto &c : calls) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.call(MAC, "x", c.limit + 1, 0), SARN_ERR_TEXT);
        EXPECT_EQ(c.call(MAC, "x", -1, 0), SARN_ERR_TEXT);
        EXPECT_EQ(c.call(MAC, nullptr, 1, 0), SARN_ERR_TEXT);
        EXPECT_EQ(c.call(nullptr, "x", 1, 0), SARN_ERR_TEXT);
        EXPECT_EQ(c.call(MAC, "x", 1, 5), SARN_ERR_PRODUCER);
        EXPECT_EQ(c.call("00:11:22:00:00:00", "x", 1, 0), SARN_ERR_UNKNOWN_DEVICE);
        const Lines journal = fake::take_journal();
        EXPECT_EQ(journal.back(), "log 4 SARN:Illegeal Mac " + c.row_log + "\n");
        EXPECT_TRUE(row_writes_of(journal).empty());
        fake::fail_threads(true);
        EXPECT_EQ(c.call(MAC, "x", 1, 0), SARN_ERR_THREAD);
        fake::fail_threads(false);
        EXPECT_EQ(fake::take_journal(),
                  Lines{"log 4 SARN:" + c.thread_log + " thread creation failed with status 11\n"});
        EXPECT_EQ(c.call(MAC, "x", c.limit, 0), SARN_OK);
        (void)fake::take_journal();
    }
    EXPECT_EQ(post_processor_update("00:11:22:00:00:00", "TV", "", 0), SARN_ERR_POST_PROCESSING);
}
