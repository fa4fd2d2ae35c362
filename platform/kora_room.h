// Room for removals. While a stopped reader keeps an old snapshot, no replaced page is used again and the map fills;
// then what frees rows must still work, so everyone else leaves the last pages alone.
#ifndef KORA_ROOM_H
#define KORA_ROOM_H

#include "kora_environment.h"

namespace kora {

// Before the first change of a write transaction; false when it may do no more than remove.
bool has_room(Environment &environment, MDB_txn *txn);

}  // namespace kora

#endif
