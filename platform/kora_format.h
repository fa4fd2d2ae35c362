// An entry of every live store, so that a foreign file, one of another version, or one from before the last restart
// is never taken for a store of now.
#ifndef KORA_FORMAT_H
#define KORA_FORMAT_H

#include <stddef.h>
#include <stdint.h>

namespace kora {

inline constexpr char FORMAT_MAGIC[] = "KORAlive";

// Every version's entry begins with these fields and has the check that every value has, so one that fails is damage,
// not another version.
struct Format {
    char magic[8];
    uint32_t version;
    uint32_t schema;
    char boot[36];  // the kernel's random id of this boot
};
static_assert(sizeof(Format) == 52, "no padding: it is stored as bytes");

Format own_format();

// The boot id is compared first: nothing is read of a store from an earlier boot, whatever its version. An id that is
// not known, on either side, counts as the same.
enum class Origin : uint8_t { Own, EarlierBoot, OtherVersion, Foreign };
Origin origin_of(const Format &found);

bool is_own_version(const Format &found);

// Of a stored entry that may have any size.
Format read_format(const void *bytes, size_t size);

// The size of LMDB's pages here.
size_t page_size();

}  // namespace kora

#endif
