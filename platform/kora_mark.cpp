#include "kora_mark.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include "kora_descriptors.h"
#include "kora_files.h"

namespace kora {

namespace {

constexpr off_t MARK_SIZE = 4096;
static_assert(std::atomic<int32_t>::is_always_lock_free, "it is shared between processes");

}  // namespace

std::atomic<int32_t> *map_mark(const Folder &folder, const StorePath &path) {
    const FileName name = name_with(path, suffix::WRITER);
    const Descriptor file(
        openat(folder.fd, name.text, O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, FILE_MODE));
    struct stat status;
    // A second name may be that of somebody else's file, which is not to get the group's rights.
    const bool is_file =
        fstat(file.fd, &status) == 0 && S_ISREG(status.st_mode) && status.st_nlink == 1 && status.st_size <= MARK_SIZE;
    if (!is_file || !is_owner_trusted(folder, status) || !reserve(folder, file.fd, MARK_SIZE)) return nullptr;
    void *page = mmap(nullptr, MARK_SIZE, PROT_READ | PROT_WRITE, MAP_SHARED, file.fd, 0);
    return page != MAP_FAILED ? static_cast<std::atomic<int32_t> *>(page) : nullptr;
}

void unmap_mark(std::atomic<int32_t> *mark) {
    if (mark != nullptr) munmap(mark, MARK_SIZE);
}

}  // namespace kora
