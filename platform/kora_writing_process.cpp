#include <atomic>

#include "kora.h"
#include "kora_open.h"
#include "kora_transaction.h"

extern "C" int32_t kora_writing_process(void *handle, int32_t *process) {
    using namespace kora;
    if (process == nullptr) return REFUSED;
    bool is_known = false;
    const Result result = read_store(handle, [&](Walk &) {
        is_known = environment.writing_process != nullptr;
        if (is_known) *process = environment.writing_process->load(std::memory_order_relaxed);
        return 0;
    });
    return result == DONE && !is_known ? FAILED : result;
}
