#include "core/log.h"
#include "core/state.h"

int32_t print_mapping_table(void) {
    const sarn::Shared hold(sarn::state_lock);
    const sarn::ExportedMutex hold_table(mutex1);
    for (int32_t row = 0; row < sarn::ROW_COUNT; ++row) {
        SARN_LOG(MappingRowIndex, row, sarn::mapping_table[row].index);
        SARN_LOG(MappingRowMac, row, sarn::mapping_table[row].MACData);
    }
    return SARN_OK;
}
