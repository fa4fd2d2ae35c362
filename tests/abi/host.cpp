// A host whose own functions carry names of the library: they must not take over the library's calls, while the
// exported variables are one and the same on both sides.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "include/sarn.h"
#include "support/fake_store.h"

extern "C" {
int valid_digit(const char *) { return 0; }
int is_valid_ip(char *) { return 0; }
int32_t check_update_mapping_table(char *, int32_t) { return -77; }
int32_t create_mapping_table(void) { return -77; }
void *update_device_signature_handler(void *) { std::abort(); }
}

#define CHECK(condition)                                                      \
    do {                                                                      \
        if (!(condition)) {                                                   \
            std::printf("line %d: %s does not hold\n", __LINE__, #condition); \
            return 1;                                                         \
        }                                                                     \
    } while (false)

int main() {
    CHECK(valid_digit("1") == 0);
    CHECK(std::strcmp(__log_file_name, "/tmp/sarnlog") == 0 && __log_level == 1 && mappingtablestatus == 1);
    CHECK(sarn_init() == SARN_OK);
    CHECK(gc_epochtime_array[9].row == -1);
    signature_record record = {};
    std::snprintf(record.mac, sizeof record.mac, "02:00:00:00:00:01");
    std::snprintf(record.ip, sizeof record.ip, "10.0.0.1");
    CHECK(update_device_signature(&record, 20) == SARN_OK);
    CHECK(producer == 20);
    CHECK(fake::get("Sarnsignature", 0, "DeviceIP") == "10.0.0.1");

    // The other way: what the host sets, the library sees.
    fake::set("Sarnsignature", 1, "DeviceMAC", "02:00:00:00:00:02");
    mappingtablestatus = 0;
    CHECK(get_total_sarn_entries_used() == 1);
    mappingtablestatus = 1;
    CHECK(get_total_sarn_entries_used() == 2);
    return 0;
}
