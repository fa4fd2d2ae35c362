// The store of a process that offers groups and a change number.
#include "platform/kora.h"
#include "support/fake_store.h"

extern "C" {

int32_t kora_begin(void *, int32_t mode) { return fake::begin_group(mode == KORA_WRITING); }
int32_t kora_end(void *, int32_t keep) { return fake::end_group(keep != 0); }

int32_t kora_changes(void *, uint64_t *number) { return fake::change_number(number); }

}  // extern "C"
