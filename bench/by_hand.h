// The floors: what no implementation of the calling convention can do without.
#ifndef SARN_BENCH_BY_HAND_H
#define SARN_BENCH_BY_HAND_H

#include <memory>
#include <string>

#include "bench/alternative.h"

namespace bench {

// One thread's creation and join.
void create_and_join();

// The same for a thread that keeps its processor for 4 us, about as long as a record does, and touches nothing.
void create_busy_and_join();

// What one would do by hand in a thread: a record is one snapshot of an LMDB file, the number that tells whether rows
// moved, and 35 reads; a field is one transaction, the number, whose row it is, and one write.
class ByHand {
public:
    virtual ~ByHand() = default;
    virtual bool read_record(int row, Record &record) = 0;
    virtual bool write_field(int row, const std::string &text) = 0;
};
std::unique_ptr<ByHand> make_by_hand(int devices);

}  // namespace bench

#endif
