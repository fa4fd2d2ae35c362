// A store as one would write it first: LMDB with "table.row.field" as the key and a transaction for each operation.
#include <lmdb.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "bench/device.h"
#include "core/schema.h"
#include "platform/kora.h"

namespace {

constexpr size_t MAP_SIZE = 8 << 20;
constexpr size_t KEY_SIZE = 64;

MDB_env *environment = nullptr;
MDB_dbi values = 0;

MDB_val key_of(char (&text)[KEY_SIZE], const char *table, int32_t row, const char *field) {
    const int length = std::snprintf(text, sizeof text, "%s.%d.%s", table, row, field);
    return {static_cast<size_t>(length), text};
}

// The reset value of a text field that nobody has written; all others begin as zero.
const char *reset_text(const char *table, const char *field) {
    for (const sarn::FieldSpec &spec : sarn::FIELDS) {
        if (std::strcmp(spec.name, field) == 0 &&
            std::strcmp(sarn::TABLES[static_cast<uint8_t>(spec.table)].name, table) == 0) {
            return spec.reset.text;
        }
    }
    return "";
}

template <typename Take>
int32_t read(const char *table, int32_t row, const char *field, Take take) {
    char text[KEY_SIZE];
    MDB_val key = key_of(text, table, row, field);
    MDB_val value = {};
    MDB_txn *txn = nullptr;
    if (mdb_txn_begin(environment, nullptr, MDB_RDONLY, &txn) != 0) return 1;
    const int found = mdb_get(txn, values, &key, &value);
    if (found == 0 || found == MDB_NOTFOUND) take(value);
    mdb_txn_abort(txn);
    return found == 0 || found == MDB_NOTFOUND ? 0 : 1;
}

int32_t write(const char *table, int32_t row, const char *field, const void *data, size_t size) {
    char text[KEY_SIZE];
    MDB_val key = key_of(text, table, row, field);
    MDB_val value = {size, const_cast<void *>(data)};
    MDB_txn *txn = nullptr;
    if (mdb_txn_begin(environment, nullptr, 0, &txn) != 0) return 1;
    if (mdb_put(txn, values, &key, &value, 0) == 0) return mdb_txn_commit(txn);
    mdb_txn_abort(txn);
    return 1;
}

int32_t read_text(const char *table, int32_t row, const char *field, char *buffer, int32_t size) {
    return read(table, row, field, [&](const MDB_val &value) {
        const std::string_view text = value.mv_data == nullptr
                                          ? std::string_view(reset_text(table, field))
                                          : std::string_view(static_cast<const char *>(value.mv_data), value.mv_size);
        buffer[text.copy(buffer, static_cast<size_t>(size) - 1)] = '\0';
    });
}

int32_t write_text(const char *table, int32_t row, const char *field, const char *text) {
    return write(table, row, field, text, std::strlen(text));
}

int32_t read_bytes(const char *table, int32_t row, const char *field, void *bytes, size_t size) {
    return read(table, row, field, [&](const MDB_val &value) {
        std::memset(bytes, 0, size);
        if (value.mv_data != nullptr) std::memcpy(bytes, value.mv_data, std::min(size, value.mv_size));
    });
}

}  // namespace

#define PLACE void *, const char *table, int32_t row, const char *field

extern "C" {

void *kora_init_ex(void *) {
    bench::require(mdb_env_create(&environment) == 0 && mdb_env_set_mapsize(environment, MAP_SIZE) == 0 &&
                       mdb_env_open(environment, std::getenv("KORA_STORE"), MDB_NOSUBDIR | MDB_NOSYNC, 0600) == 0,
                   "opening the plain store");
    MDB_txn *txn = nullptr;
    bench::require(mdb_txn_begin(environment, nullptr, 0, &txn) == 0 && mdb_dbi_open(txn, nullptr, 0, &values) == 0 &&
                       mdb_txn_commit(txn) == 0,
                   "opening the plain store");
    return &environment;
}
int32_t kora_destroy(void *) {
    mdb_env_close(environment);
    return 0;
}

int32_t kora_get_ascii(PLACE, char *buffer, int32_t size) { return read_text(table, row, field, buffer, size); }
int32_t kora_get_string(PLACE, char *buffer, int32_t size) { return read_text(table, row, field, buffer, size); }
int32_t kora_get_enum(PLACE, char *buffer, int32_t size) { return read_text(table, row, field, buffer, size); }
int32_t kora_set_ascii(PLACE, const char *text) { return write_text(table, row, field, text); }
int32_t kora_set_string(PLACE, const char *text) { return write_text(table, row, field, text); }
int32_t kora_set_enum(PLACE, const char *text) { return write_text(table, row, field, text); }

int32_t kora_get_bool(PLACE, uint8_t *value) { return read_bytes(table, row, field, value, sizeof *value); }
int32_t kora_get_uint(PLACE, uint32_t *value) { return read_bytes(table, row, field, value, sizeof *value); }
int32_t kora_get_mac(PLACE, uint8_t six[6]) { return read_bytes(table, row, field, six, 6); }
int32_t kora_get_ipv4(PLACE, uint8_t four[4]) { return read_bytes(table, row, field, four, 4); }
int32_t kora_set_bool(PLACE, int32_t value) {
    const uint8_t byte = value != 0 ? 1 : 0;
    return write(table, row, field, &byte, sizeof byte);
}
int32_t kora_set_int(PLACE, int32_t value) { return write(table, row, field, &value, sizeof value); }
int32_t kora_set_uint(PLACE, uint32_t value) { return write(table, row, field, &value, sizeof value); }
int32_t kora_set_mac(PLACE, const uint8_t six[6]) { return write(table, row, field, six, 6); }
int32_t kora_set_ipv4(PLACE, const uint8_t four[4]) { return write(table, row, field, four, 4); }

int32_t kora_string2mac(const char *text, uint8_t six[6]) {
    unsigned parts[6];
    if (std::sscanf(text, "%2x:%2x:%2x:%2x:%2x:%2x", &parts[0], &parts[1], &parts[2], &parts[3], &parts[4],
                    &parts[5]) != 6) {
        return 1;
    }
    std::copy(parts, parts + 6, six);
    return 0;
}
int32_t kora_string2ipv4(const char *text, uint8_t four[4]) {
    unsigned parts[4];
    if (std::sscanf(text, "%3u.%3u.%3u.%3u", &parts[0], &parts[1], &parts[2], &parts[3]) != 4) return 1;
    std::copy(parts, parts + 4, four);
    return 0;
}

void log_printf(int32_t, const char *, int32_t, const char *, ...) {}
}
