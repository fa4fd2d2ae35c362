#include <string.h>

#include "core/build_mark.h"
#include "core/mapping_table.h"

namespace sarn {

namespace {

// A row that no build has read yet.
constexpr char UNREAD_MAC[] = "ff:ff:ff:ff:ff:ff";

}  // namespace

int32_t init_mapping_table_locked() {
    forget_build();
    const ExportedMutex hold(mutex1);
    for (int32_t row = 0; row < ROW_COUNT; ++row) {
        mapping_table[row].index = row;
        memcpy(mapping_table[row].MACData, UNREAD_MAC, sizeof UNREAD_MAC);
    }
    return SARN_OK;
}

}  // namespace sarn

int32_t init_mapping_table(void) {
    const sarn::Exclusive hold(sarn::state_lock);
    return sarn::init_mapping_table_locked();
}
