// An entry of every live store, so that a foreign file, one of another version, or one from before the last restart
// is never taken for a store of now.
#ifndef KORA_FORMAT_H
#define KORA_FORMAT_H

#include <stddef.h>
#include <stdint.h>

namespace kora {

inline constexpr char FORMAT_MAGIC[] = "KORAlive";

// Every version's begins with these and carries this version's check, so one that fails is damage.
struct Format {
    char magic[8];
    uint32_t version;
    uint32_t schema;
    char boot[36];  // the kernel's random id of this start of the machine
};
static_assert(sizeof(Format) == 52, "no padding: it is stored as bytes");

Format own_format();

// The start comes first: of what is from an earlier one nothing is read, whatever its version. A start that either side
// does not know is taken for the same.
enum class Origin : uint8_t { Own, EarlierStart, OtherVersion, Foreign };
Origin origin_of(const Format &found);

bool is_own_version(const Format &found);

// Of a stored entry that may have any size.
Format read_format(const void *bytes, size_t size);

// The size of LMDB's pages here.
size_t page_size();

}  // namespace kora

#endif
