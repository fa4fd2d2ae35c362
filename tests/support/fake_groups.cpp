// The store of a process that offers groups.
#include "platform/kora.h"
#include "support/fake_store.h"

extern "C" {

int32_t kora_begin(void *, int32_t mode) { return fake::begin_group(mode == KORA_WRITING); }
int32_t kora_end(void *, int32_t keep) { return fake::end_group(keep != 0); }

}  // extern "C"
