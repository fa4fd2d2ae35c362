// CRC-32C: finds every change of one to three bits and every burst of up to 32.
#ifndef KORA_CHECKSUM_H
#define KORA_CHECKSUM_H

#include <stddef.h>
#include <stdint.h>

namespace kora {

// Continues a checksum; the first part begins with 0.
uint32_t checksum(uint32_t so_far, const void *bytes, size_t size);

}  // namespace kora

#endif
