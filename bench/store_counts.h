// What the library asked of the store, and what the store then asked of LMDB.
#ifndef SARN_BENCH_STORE_COUNTS_H
#define SARN_BENCH_STORE_COUNTS_H

#include <cstdint>

namespace bench {

struct StoreCounts {
    int64_t operations;    // reads, writes, looks at the change number
    int64_t snapshots;     // read transactions begun or renewed
    int64_t transactions;  // write transactions begun
};
extern StoreCounts store_counts;

}  // namespace bench

#endif
