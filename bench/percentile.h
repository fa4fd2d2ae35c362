#ifndef SARN_BENCH_PERCENTILE_H
#define SARN_BENCH_PERCENTILE_H

#include <algorithm>
#include <cstddef>
#include <vector>

namespace bench {

// Leaves the samples in another order; 0 where there are none.
template <typename Number>
Number percentile(std::vector<Number> &samples, size_t percent) {
    if (samples.empty()) return 0;
    const auto place = samples.begin() + static_cast<std::ptrdiff_t>((samples.size() - 1) * percent / 100);
    std::nth_element(samples.begin(), place, samples.end());
    return *place;
}

}  // namespace bench

#endif
