// What LMDB and this layer order between processors without a lock. ThreadSanitizer does not see it: its build writes
// nothing in place, and it knows no fences.
#ifndef KORA_FENCE_H
#define KORA_FENCE_H

#include <atomic>

#ifndef __has_feature
#define __has_feature(feature) 0
#endif

namespace kora {

#if defined(__SANITIZE_THREAD__) || __has_feature(thread_sanitizer)
inline constexpr bool IS_UNDER_THREAD_SANITIZER = true;
#else
inline constexpr bool IS_UNDER_THREAD_SANITIZER = false;
#endif

inline void fence(std::memory_order order) {
    if constexpr (!IS_UNDER_THREAD_SANITIZER) std::atomic_thread_fence(order);
}

}  // namespace kora

#endif
