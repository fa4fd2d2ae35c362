// Who is writing now, in a page that all processes share, so that a writer that was stopped can be named.
#ifndef KORA_MARK_H
#define KORA_MARK_H

#include <atomic>

#include "kora_folder.h"

namespace kora {

// Null when there is no page to be had: nobody needs it but to be told.
std::atomic<int32_t> *map_mark(const Folder &folder, const StorePath &path);
void unmap_mark(std::atomic<int32_t> *mark);

}  // namespace kora

#endif
