#include "kora_format.h"

#include <fcntl.h>
#include <string.h>
#include <unistd.h>

#include "kora_descriptors.h"
#include "kora_schema.h"

namespace kora {

namespace {

static_assert(sizeof FORMAT_MAGIC == sizeof Format::magic + 1);
// For what the fingerprint of the schema does not cover: how entries and their checks are made (but those of the format
// itself), and by which rule the change number moves.
constexpr uint32_t VERSION = 5;
constexpr char BOOT_ID[] = "/proc/sys/kernel/random/boot_id";

}  // namespace

Format own_format() {
    Format format = {{}, VERSION, schema_fingerprint(), {}};
    memcpy(format.magic, FORMAT_MAGIC, sizeof format.magic);
    const Descriptor id(open(BOOT_ID, O_RDONLY | O_CLOEXEC));
    if (read(id.fd, format.boot, sizeof format.boot) != sizeof format.boot) memset(format.boot, 0, sizeof format.boot);
    return format;
}

Origin origin_of(const Format &found) {
    const Format own = own_format();
    if (memcmp(found.magic, own.magic, sizeof own.magic) != 0) return Origin::Foreign;
    const bool is_known = own.boot[0] != '\0' && found.boot[0] != '\0';
    if (is_known && memcmp(found.boot, own.boot, sizeof own.boot) != 0) return Origin::EarlierBoot;
    return is_own_version(found) ? Origin::Own : Origin::OtherVersion;
}

bool is_own_version(const Format &found) {
    return memcmp(found.magic, FORMAT_MAGIC, sizeof found.magic) == 0 && found.version == VERSION &&
           found.schema == schema_fingerprint();
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
