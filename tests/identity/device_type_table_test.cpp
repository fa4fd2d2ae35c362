#include <gtest/gtest.h>

#include "include/sarn.h"
#include "support/checksum.h"

TEST(DeviceTypeTable, IsTheOneThatHostsKnow) {
    std::string table;
    for (const device_type_row &row : Newtypestorage) {
        table += std::string(row.key) + " " + std::to_string(row.id) + " " + row.display + "\n";
        EXPECT_STREQ(get_quorvex_device_type(row.id), row.display) << row.key;
        EXPECT_EQ(get_quorvex_device_id(row.display, 1), row.id) << row.key;
    }
    EXPECT_EQ(checksum_of(table), 740535074) << IF_MEANT << table;
    EXPECT_EQ(get_quorvex_device_id("WEBCAM", 6), 0);
    EXPECT_EQ(get_quorvex_device_id(nullptr, 2), 0);
    EXPECT_EQ(get_quorvex_device_id("TV", 0), 0);
    for (const int id : {0, 29, -1}) EXPECT_EQ(get_quorvex_device_type(id), nullptr) << id;
}
