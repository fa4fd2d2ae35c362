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

#define COUNTED(name, parameters, ...)             \
    int32_t name parameters {                      \
        ++bench::store_counts.operations;          \
        FORWARD(bench::kora(), name, __VA_ARGS__); \
    }
#define PLACE void *handle, const char *table, int32_t row, const char *field
#define AT_PLACE handle, table, row, field

extern "C" {

COUNTED(kora_get_ascii, (PLACE, char *value, int32_t size), AT_PLACE, value, size)
COUNTED(kora_get_string, (PLACE, char *value, int32_t size), AT_PLACE, value, size)
COUNTED(kora_get_enum, (PLACE, char *value, int32_t size), AT_PLACE, value, size)
COUNTED(kora_get_bool, (PLACE, uint8_t *value), AT_PLACE, value)
COUNTED(kora_get_uint, (PLACE, uint32_t *value), AT_PLACE, value)
COUNTED(kora_get_mac, (PLACE, uint8_t value[6]), AT_PLACE, value)
COUNTED(kora_get_ipv4, (PLACE, uint8_t value[4]), AT_PLACE, value)
COUNTED(kora_set_ascii, (PLACE, const char *value), AT_PLACE, value)
COUNTED(kora_set_string, (PLACE, const char *value), AT_PLACE, value)
COUNTED(kora_set_enum, (PLACE, const char *value), AT_PLACE, value)
COUNTED(kora_set_bool, (PLACE, int32_t value), AT_PLACE, value)
COUNTED(kora_set_int, (PLACE, int32_t value), AT_PLACE, value)
COUNTED(kora_set_uint, (PLACE, uint32_t value), AT_PLACE, value)
COUNTED(kora_set_mac, (PLACE, const uint8_t value[6]), AT_PLACE, value)
COUNTED(kora_set_ipv4, (PLACE, const uint8_t value[4]), AT_PLACE, value)

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
COUNTED(kora_changes, (void *handle, uint64_t *number), handle, number)
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
