// The two exported flags that tell a display operation whether it acts for the recogniser or for a user. They belong to
// the process, and workers and host touch them at any time.
#ifndef SARN_IDENTITY_POST_PROCESSOR_FLAGS_H
#define SARN_IDENTITY_POST_PROCESSOR_FLAGS_H

#include <stdint.h>

#include "include/sarn.h"

namespace sarn {

inline int32_t flag_value(const uint8_t &flag) { return __atomic_load_n(&flag, __ATOMIC_RELAXED); }
inline bool is_set(const uint8_t &flag) { return flag_value(flag) != 0; }
inline void set_flag(uint8_t &flag, uint8_t value) { __atomic_store_n(&flag, value, __ATOMIC_RELAXED); }

}  // namespace sarn

#endif
