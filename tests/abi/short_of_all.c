/* A C host that is short of everything once it has started: nothing is left for what a first worker would load. */
#include <fcntl.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <unistd.h>

#include "sarn.h"

int main(void) {
    const struct rlimit few = {64, 64}; /* a machine may allow a thousand million */
    device_info device;
    (void)unlink(getenv("KORA_STORE")); /* of the last run */
    if (setrlimit(RLIMIT_NOFILE, &few) != 0 || sarn_init() != SARN_OK) return 2;
    while (open("/", O_RDONLY) >= 0) {
    }
    /* Not returned: a sanitizer looks for leaks at the end, and needs a descriptor for it. */
    _exit(get_device_info_by_mac(&device, "02:00:00:00:00:01") == SARN_ERR_UNKNOWN_DEVICE ? 0 : 1);
}
