#include "kora_checksum.h"

namespace kora {

namespace {

constexpr uint32_t POLYNOMIAL = 0x82f63b78;  // Castagnoli's, bits reversed
constexpr size_t STEP = 4;

struct Tables {
    uint32_t of[STEP][256];
};

constexpr Tables make_tables() {
    Tables tables = {};
    for (uint32_t byte = 0; byte < 256; ++byte) {
        uint32_t value = byte;
        for (int bit = 0; bit < 8; ++bit) value = value >> 1 ^ ((value & 1) != 0 ? POLYNOMIAL : 0);
        tables.of[0][byte] = value;
    }
    for (size_t i = 1; i < STEP; ++i) {
        for (size_t byte = 0; byte < 256; ++byte) {
            const uint32_t before = tables.of[i - 1][byte];
            tables.of[i][byte] = before >> 8 ^ tables.of[0][before & 0xff];
        }
    }
    return tables;
}

constexpr Tables TABLES = make_tables();

}  // namespace

uint32_t checksum(uint32_t so_far, const void *bytes, size_t size) {
    const auto *next = static_cast<const uint8_t *>(bytes);
    uint32_t crc = ~so_far;
    for (; size >= STEP; size -= STEP, next += STEP) {
        crc ^= static_cast<uint32_t>(next[0] | next[1] << 8 | next[2] << 16) | static_cast<uint32_t>(next[3]) << 24;
        crc = TABLES.of[3][crc & 0xff] ^ TABLES.of[2][crc >> 8 & 0xff] ^ TABLES.of[1][crc >> 16 & 0xff] ^
              TABLES.of[0][crc >> 24];
    }
    for (; size > 0; --size) crc = crc >> 8 ^ TABLES.of[0][(crc ^ *next++) & 0xff];
    return ~crc;
}

}  // namespace kora
