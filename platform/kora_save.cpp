#include "kora_save.h"

#include <pthread.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include <atomic>

#include "kora.h"
#include "kora_checksum.h"
#include "kora_group.h"
#include "kora_open.h"
#include "kora_saved_files.h"
#include "kora_transaction.h"

namespace kora {

namespace {

constexpr uint64_t NS_PER_SECOND = 1'000'000'000;
constexpr uint64_t PAUSE = 60 * NS_PER_SECOND;

StorePath saved_path;  // set while no handle is open
constexpr uint64_t NEVER = UINT64_MAX;
std::atomic<uint64_t> pending_from{NEVER};
pthread_mutex_t saving = PTHREAD_MUTEX_INITIALIZER;
std::atomic<int> locked_folder{-1};

// A failure lasts: flash that is full or worn out. It is told once, until a save succeeds or fails in another way.
bool is_news(const Refusal &why) {
    static std::atomic<uint32_t> last{0};
    const uint32_t text = checksum(0, why.text, strlen(why.text));
    return last.exchange(text, std::memory_order_relaxed) != text && why.text[0] != '\0';
}

bool is_same_folder(const Folder &one, const Folder &other) {
    struct stat first, second;
    return fstat(one.fd, &first) == 0 && fstat(other.fd, &second) == 0 && first.st_dev == second.st_dev &&
           first.st_ino == second.st_ino;
}

// The path too, since it is fixed only while a handle is open.
Result take_image(const void *handle, Image &image, StorePath &out_path, Refusal &out_why) {
    if (!make_room(image)) {
        refuse(out_why, "the store cannot be saved: no memory");
        return FAILED;
    }
    Reader *reader = nullptr;
    const Result entered = enter_snapshot(handle, reader);
    if (entered != DONE) return entered;
    out_path = saved_path;
    const int error = write_image(reader->walk, image);
    leave_snapshot(*reader);
    if (report_reading(error) != DONE) return FAILED;
    if (out_path.text[0] != '\0') return DONE;
    refuse(out_why, "the store cannot be saved: KORA_SAVE names no file");
    return FAILED;
}

Result write_image_to(const StorePath &path, const Image &image, bool is_waiting, Refusal &out_why) {
    const StandardDescriptors none_of_these;
    Folder folder;
    if (!open_folder(path, folder, out_why)) return FAILED;
    locked_folder = folder.fd;
    const bool is_locked = lock_folder(path, folder, is_waiting, out_why);
    const bool is_saved = is_locked && write_saved_copy(folder, path, image, out_why);
    locked_folder = -1;
    if (!is_locked && !is_waiting) out_why.text[0] = '\0';  // somebody else is at it, and that is no trouble
    return is_saved ? DONE : FAILED;
}

// With `saving` held.
Result save(const void *handle, bool is_waiting) {
    Image image;
    StorePath path = {};
    Refusal why;
    Result result = take_image(handle, image, path, why);
    if (result == DONE) result = write_image_to(path, image, is_waiting, why);
    if (result == DONE) clear_save_pending();
    if (result == FAILED) set_save_pending(save_clock() + PAUSE);
    if (!is_news(why)) why.text[0] = '\0';
    log_refusal(why);
    return result;
}

}  // namespace

void choose_saved_copy(const StorePath &store_path, Refusal &out_why) {
    Refusal why;
    if (!read_saved_path(store_path, saved_path, why) && why.text[0] != '\0') {
        saved_path.text[0] = '\0';
        note(out_why, "%.500s", why.text);
    }
    clear_save_pending();
}

bool has_saved_copy() { return saved_path.text[0] != '\0'; }

bool find_what_to_restore(const Folder &store_folder, Image &out_image, Refusal &out_why) {
    if (!has_saved_copy()) return false;
    Folder folder;
    Refusal why;
    bool is_found = false;
    if (!make_room(out_image)) {
        refuse(why, "%s %.300s: no memory", saved_path.what, saved_path.text);
    } else if (open_folder(saved_path, folder, why) &&
               (is_same_folder(folder, store_folder) || lock_folder(saved_path, folder, true, why))) {
        is_found = read_saved_copy(folder, saved_path, out_image, out_why);
    }
    if (is_news(why)) note(out_why, "%.500s", why.text);
    return is_found;
}

bool is_pending_save_due() {
    const uint64_t from = pending_from.load(std::memory_order_relaxed);
    return from != NEVER && save_clock() >= from;
}

void set_save_pending(uint64_t from) { pending_from.store(from, std::memory_order_relaxed); }
void clear_save_pending() { set_save_pending(NEVER); }

uint64_t save_clock() {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint64_t>(now.tv_sec) * NS_PER_SECOND + static_cast<uint64_t>(now.tv_nsec);
}

// A time yet to come is damage, and must not keep all saves off.
uint64_t next_save(uint64_t last, uint64_t now) { return last > now ? now : last + PAUSE; }

void save_by_itself(const void *handle) {
    if (pthread_mutex_trylock(&saving) != 0) {
        set_save_pending(save_clock() + PAUSE);
        return;
    }
    (void)save(handle, false);
    pthread_mutex_unlock(&saving);
}

void forget_save() {
    pthread_mutex_init(&saving, nullptr);
    clear_save_pending();
    // The lock is the parent's, and would last as long as a copy of the descriptor.
    const int folder = locked_folder.exchange(-1);
    if (folder >= 0) close(folder);
}

}  // namespace kora

extern "C" int32_t kora_save(void *handle) {
    using namespace kora;
    if (is_in_group() || !is_open(handle)) return REFUSED;
    const Lock lock(saving);
    return save(handle, true);
}
