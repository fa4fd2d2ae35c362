#include "kora_format.h"

#include <fcntl.h>
#include <string.h>
#include <unistd.h>

#include "kora_schema.h"

namespace kora {

namespace {

static_assert(sizeof FORMAT_MAGIC == sizeof Format::magic + 1);
constexpr uint32_t VERSION = 4;
constexpr char BOOT_ID[] = "/proc/sys/kernel/random/boot_id";

}  // namespace

Format own_format() {
    Format format = {{}, VERSION, schema_fingerprint(), {}};
    memcpy(format.magic, FORMAT_MAGIC, sizeof format.magic);
    const int fd = open(BOOT_ID, O_RDONLY | O_CLOEXEC);
    if (fd >= 0) {
        if (read(fd, format.boot, sizeof format.boot) != sizeof format.boot) memset(format.boot, 0, sizeof format.boot);
        close(fd);
    }
    return format;
}

Origin origin_of(const Format &found) {
    const Format own = own_format();
    if (memcmp(found.magic, own.magic, sizeof own.magic) != 0) return Origin::Foreign;
    if (found.version != own.version || found.schema != own.schema) return Origin::OtherVersion;
    const bool is_same_start = own.boot[0] == '\0' || memcmp(found.boot, own.boot, sizeof own.boot) == 0;
    return is_same_start ? Origin::Own : Origin::EarlierStart;
}

Format read_format(const void *bytes, size_t size) {
    Format found = {};
    memcpy(&found, bytes, size < sizeof found ? size : sizeof found);
    return found;
}

size_t page_size() {
    constexpr size_t LARGEST = 0x8000;
    const auto size = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    return size < LARGEST ? size : LARGEST;
}

}  // namespace kora
