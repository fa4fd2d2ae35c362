/* A host written in C99. */
#include "include/sarn.h"
#include "platform/kora.h"

int use_header(device_info *record);
int use_header(device_info *record) { return get_device_info_at_index(record, 0) == SARN_OK && producer == 0; }
