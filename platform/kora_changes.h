// The change number as of the last transaction that this process knows of. While no other has come since, nobody needs
// to look it up.
#ifndef KORA_CHANGES_H
#define KORA_CHANGES_H

#include "kora_walk.h"

namespace kora {

// As the walk sees it: looked up where it is not known.
int find_change_number(Walk &walk, uint64_t &out_number);

// False when the number is not known as of this transaction.
bool recall_change_number(size_t transaction, uint64_t &out_number);
void note_change_number(size_t transaction, uint64_t number);

// Another store may use the same transactions for other numbers. Expects that no thread is inside an operation.
void forget_change_number();

}  // namespace kora

#endif
