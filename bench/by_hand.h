// The floors: what no implementation of the calling convention can do without.
#ifndef SARN_BENCH_BY_HAND_H
#define SARN_BENCH_BY_HAND_H

#include <memory>

#include "bench/alternative.h"

namespace bench {

// One thread's creation and join.
void create_and_join();

// A record as one would read it by hand: a thread, and in it one snapshot of an LMDB file, the number that tells
// whether rows moved, and 35 reads.
class ByHand {
public:
    virtual ~ByHand() = default;
    virtual bool read_record(int row, Record &record) = 0;
};
std::unique_ptr<ByHand> make_by_hand(int devices);

}  // namespace bench

#endif
