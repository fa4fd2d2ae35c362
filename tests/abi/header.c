#include "include/sarn.h"
#include "platform/kora.h"

#define SAME(name, left, right) typedef char name[(left) == (right) ? 1 : -1]

SAME(signature_record_has_no_gaps, sizeof(signature_record), 560);
SAME(connected_device_record_has_no_gaps, sizeof(connected_device_record), 104);
SAME(device_detail_record_has_no_gaps, sizeof(device_detail_record), 345);
SAME(device_type_row_has_no_gaps, sizeof(device_type_row), 132);
SAME(device_info_has_no_gaps, sizeof(device_info), 1407);

int use_header(device_info *record);
int use_header(device_info *record) { return get_device_info_at_index(record, 0) == SARN_OK && producer == 0; }
