#include "kora_descriptors.h"

#include <errno.h>
#include <fcntl.h>
#include <unistd.h>

namespace kora {

Descriptor::~Descriptor() {
    const int error = errno;
    if (fd >= 0) close(fd);
    errno = error;
}

StandardDescriptors::StandardDescriptors() {
    for (;;) {
        const int fd = open("/", O_PATH | O_CLOEXEC);
        if (fd >= 0 && fd < COUNT) {
            is_ours_[fd] = true;
            continue;
        }
        if (fd >= 0) close(fd);
        return;
    }
}

StandardDescriptors::~StandardDescriptors() {
    for (int fd = 0; fd < COUNT; ++fd) {
        if (is_ours_[fd]) close(fd);
    }
}

}  // namespace kora
