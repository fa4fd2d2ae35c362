// The row of a MAC.
#include "core/address_text.h"
#include "core/entry_gate.h"
#include "core/log.h"
#include "core/mapping_table.h"
#include "include/sarn.h"

int32_t check_macaddress_entry(char *mac) {
    using namespace sarn;
    const Exclusive hold(state_lock);
    if (pass_entry_gate(__func__) != SARN_OK) return SARN_ERR_REBUILD;
    if (initialised != 1) {
        SARN_LOG(SarnLibraryNotInitialised);
        return SARN_ERR_NOT_INITIALISED;
    }
    if (mac == nullptr) return SARN_ERR_MAC;
    upper_case(mac, sizeof device_info::DeviceMAC);
    const ExportedMutex hold_scan(mutex3);
    const int32_t row = lowest_row_of(mac);
    return is_row(row) ? row : SARN_ERR_NOT_FOUND;
}
