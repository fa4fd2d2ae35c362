#include <gtest/gtest.h>

#include <string>

#include "include/sarn.h"

TEST(DeviceTypeTable, IsTheOneThatHostsKnow) {
    uint32_t sum = 0;  // a change of any key, type, number or place shows here, and is to be meant
    for (const device_type_row &row : Newtypestorage) {
        const std::string line = std::string(row.key) + " " + std::to_string(row.id) + " " + row.display + "\n";
        for (const char c : line) sum = 31 * sum + static_cast<uint8_t>(c);
        EXPECT_STREQ(get_quorvex_device_type(row.id), row.display) << row.key;
        EXPECT_EQ(get_quorvex_device_id(row.display, 1), row.id) << row.key;
    }
    EXPECT_EQ(sum, 542089759U);
    EXPECT_EQ(get_quorvex_device_id("WEBCAM", 6), 0);
    EXPECT_EQ(get_quorvex_device_id(nullptr, 2), 0);
    EXPECT_EQ(get_quorvex_device_id("TV", 0), 0);
    for (const int id : {0, 29, -1}) EXPECT_EQ(get_quorvex_device_type(id), nullptr) << id;
}
