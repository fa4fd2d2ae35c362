// The store between the library and libkora.so: counts what is asked and hands it on. What a store may lack is left out
// unless BENCH_GROUPS and BENCH_CHANGES ask for it; libkora.so is loaded so that the library does not see it itself.
#include <dlfcn.h>
#include <lmdb.h>

#include "bench/device.h"
#include "bench/store_counts.h"
#include "platform/kora.h"

namespace bench {

StoreCounts store_counts;

namespace {

void *library_of(const char *file) {
    void *library = dlopen(file, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) give_up(dlerror());
    return library;
}

template <typename Function>
Function *function_of(void *library, const char *name) {
    auto *function = reinterpret_cast<Function *>(dlsym(library, name));
    if (function == nullptr) give_up(dlerror());
    return function;
}

void *kora() {
    static void *const library = library_of(BENCH_KORA_LIBRARY);
    return library;
}

void *lmdb() {
    static void *const library = library_of("liblmdb.so.0");
    return library;
}

}  // namespace

}  // namespace bench

#define FORWARD(library, name, ...)                                                           \
    static auto *const forwarded_##name = bench::function_of<decltype(name)>(library, #name); \
    return forwarded_##name(__VA_ARGS__)

#define READ(name, value_type, size_parameter, size_argument)                                                  \
    int32_t name(void *handle, const char *table, int32_t row, const char *field, value_type size_parameter) { \
        ++bench::store_counts.operations;                                                                      \
        FORWARD(bench::kora(), name, handle, table, row, field, value size_argument);                          \
    }
#define COMMA ,
#define READ_TEXT(name) READ(name, char *value, COMMA int32_t size, COMMA size)
#define READ_VALUE(name, type) READ(name, type, , )
#define WRITE(name, type)                                                                 \
    int32_t name(void *handle, const char *table, int32_t row, const char *field, type) { \
        ++bench::store_counts.operations;                                                 \
        FORWARD(bench::kora(), name, handle, table, row, field, value);                   \
    }

extern "C" {

READ_TEXT(kora_get_ascii)
READ_TEXT(kora_get_string)
READ_TEXT(kora_get_enum)
READ_VALUE(kora_get_bool, uint8_t *value)
READ_VALUE(kora_get_uint, uint32_t *value)
READ_VALUE(kora_get_mac, uint8_t value[6])
READ_VALUE(kora_get_ipv4, uint8_t value[4])
WRITE(kora_set_ascii, const char *value)
WRITE(kora_set_string, const char *value)
WRITE(kora_set_enum, const char *value)
WRITE(kora_set_bool, int32_t value)
WRITE(kora_set_int, int32_t value)
WRITE(kora_set_uint, uint32_t value)
WRITE(kora_set_mac, const uint8_t value[6])
WRITE(kora_set_ipv4, const uint8_t value[4])

void *kora_init_ex(void *reserved) { FORWARD(bench::kora(), kora_init_ex, reserved); }
int32_t kora_destroy(void *handle) { FORWARD(bench::kora(), kora_destroy, handle); }
int32_t kora_string2mac(const char *text, uint8_t six[6]) { FORWARD(bench::kora(), kora_string2mac, text, six); }
int32_t kora_string2ipv4(const char *text, uint8_t four[4]) { FORWARD(bench::kora(), kora_string2ipv4, text, four); }
void log_printf(int32_t, const char *, int32_t, const char *, ...) {}

#ifdef BENCH_GROUPS
int32_t kora_begin(void *handle, int32_t mode) { FORWARD(bench::kora(), kora_begin, handle, mode); }
int32_t kora_end(void *handle, int32_t keep) { FORWARD(bench::kora(), kora_end, handle, keep); }
#endif
#ifdef BENCH_CHANGES
int32_t kora_changes(void *handle, uint64_t *number) {
    ++bench::store_counts.operations;
    FORWARD(bench::kora(), kora_changes, handle, number);
}
#endif

// libkora.so's own calls of LMDB come here too, since a program's functions go before those of what it loads.
int mdb_txn_begin(MDB_env *environment, MDB_txn *parent, unsigned int flags, MDB_txn **txn) {
    ++((flags & MDB_RDONLY) != 0 ? bench::store_counts.snapshots : bench::store_counts.transactions);
    FORWARD(bench::lmdb(), mdb_txn_begin, environment, parent, flags, txn);
}
int mdb_txn_renew(MDB_txn *txn) {
    ++bench::store_counts.snapshots;
    FORWARD(bench::lmdb(), mdb_txn_renew, txn);
}
}
