/* A C host that is short of everything once it has started: nothing is left for what a first worker would load. */
#include <fcntl.h>

#include "sarn.h"

int main(void) {
    device_info device;
    if (sarn_init() != SARN_OK) return 2;
    while (open("/", O_RDONLY) >= 0) {
    }
    return get_device_info_by_mac(&device, "02:00:00:00:00:01") == SARN_ERR_UNKNOWN_DEVICE ? 0 : 1;
}
