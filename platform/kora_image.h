// The saved copy as bytes: a header, the values of each field behind its names, and a checksum over all of it.
//
//   "KORAsave", version, length of the whole, digest of what was decided
//   where the list began without a copy, its number, as a field that no version knows
//   for each field with values: its table's name, its own, its kind, how many values, and each value with its row
//   checksum (CRC-32C) of all before it
//
// Numbers are little-endian. Names instead of numbers, so that a copy outlives a change of the schema: what another
// schema does not have is left out, and what the copy does not have has its reset value.
#ifndef KORA_IMAGE_H
#define KORA_IMAGE_H

#include "kora_walk.h"

namespace kora {

// As a list's beginning: it was restored, or an earlier version made it.
inline constexpr uint64_t FROM_A_COPY = 0;

// Larger than all fields of all rows at their longest.
inline constexpr size_t IMAGE_MAX = size_t{4} << 20;

// In pages of its own, of which only what is written takes memory.
struct Image {
    uint8_t *bytes = nullptr;
    size_t size = 0;

    Image() = default;
    Image(const Image &) = delete;
    Image &operator=(const Image &) = delete;
    ~Image();
};
bool allocate(Image &image);

// All values of the snapshot that differ from their reset values, and which list it is.
int write_image(Walk &walk, Image &out_image);

// The first four of an image, all of the file that it is read from.
enum class CopyState : uint8_t { Whole, Foreign, Newer, Damaged, Absent, Unreadable, OfAnotherList, NoFile };
CopyState state_of(const Image &image);

// Of whole images only.
uint64_t digest_of(const Image &image);
uint64_t beginning_of(const Image &image);
using PutValue = int (*)(void *context, Place place, Bytes value);
int for_each_value(const Image &image, PutValue put, void *context);

}  // namespace kora

#endif
