#include "kora_save.h"

#include <errno.h>
#include <pthread.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include <atomic>

#include "kora.h"
#include "kora_checksum.h"
#include "kora_descriptors.h"
#include "kora_group.h"
#include "kora_open.h"
#include "kora_pause.h"
#include "kora_transaction.h"

namespace kora {

namespace {

constexpr uint64_t NS_PER_SECOND = 1'000'000'000;
constexpr uint64_t BETWEEN_SAVES = 60 * NS_PER_SECOND;

StorePath saved_path;  // set while no handle is open
constexpr uint64_t NEVER = UINT64_MAX;
std::atomic<uint64_t> pending_from{NEVER};
pthread_mutex_t saving = PTHREAD_MUTEX_INITIALIZER;

// What a child must close is noted together with its opening and closing, and no fork comes between.
pthread_mutex_t noting = PTHREAD_MUTEX_INITIALIZER;
int noted_folder = -1;

void clear_save_pending() { set_save_pending(NEVER); }

// A failure lasts: flash that is full or worn out. It is told once, until a save succeeds or fails in another way.
bool note_if_new(const Refusal &why) {
    static std::atomic<uint32_t> last{0};
    const uint32_t text = checksum(0, why.text, strlen(why.text));
    return last.exchange(text, std::memory_order_relaxed) != text && why.text[0] != '\0';
}

bool is_same_folder(const Folder &one, const Folder &other) {
    struct stat first, second;
    return fstat(one.fd, &first) == 0 && fstat(other.fd, &second) == 0 && is_same_file(first, second);
}

bool is_absence(int error) {
    return error == ENOENT || error == ENOTDIR || error == ELOOP || error == ENAMETOOLONG || is_lost(error);
}

// By another process; any other failure is the file system's, which has no such locks.
bool is_folder_kept(int error) { return error == EWOULDBLOCK || error == EINTR; }

struct Save {
    StorePath path = {};
    Folder folder;
    Image image;
};

enum class Attempt : uint8_t { Read, KeptOut, Failed };

struct SaveEnd {
    Result result = FAILED;
    int read_error = 0;
    Refusal why;
};

int read_image(Reader &reader, Image &image) {
    int error = begin_snapshot(environment, reader);
    if (error != 0) return error;
    error = write_image(reader.walk, image);
    end_snapshot(reader);
    return error;
}

bool prepare(Save &save, Refusal &out_why) {
    save.path = saved_path;
    if (save.path.text[0] == '\0') return refuse(out_why, "the store cannot be saved: KORA_SAVE names no file");
    if (!allocate(save.image)) return refuse(out_why, "the store cannot be saved: no memory");
    const Lock lock(noting);
    const bool is_opened = open_folder(save.path, save.folder, out_why);
    noted_folder = save.folder.fd;
    return is_opened;
}

// With a reader held, since the path is fixed only while a handle is open, and since closing too takes its readers
// before the folder. The snapshot comes last: of two processes that save at once, the later one has the later snapshot.
Attempt lock_and_read(Save &save, Reader &reader, SaveEnd &out_end) {
    if (save.folder.fd < 0 && !prepare(save, out_end.why)) return Attempt::Failed;
    if (!lock_folder(save.path, save.folder, false, out_end.why))
        return is_folder_kept(errno) ? Attempt::KeptOut : Attempt::Failed;
    out_end.why.text[0] = '\0';
    out_end.read_error = read_image(reader, save.image);
    return out_end.read_error == 0 ? Attempt::Read : Attempt::Failed;
}

// A folder that another process keeps is waited for without a reader, which would hold up who closes or reopens here.
bool wait_and_read(const void *handle, Save &save, bool is_waiting, SaveEnd &out_end) {
    for (int i = 0; i < (is_waiting ? FOLDER_TRIES : 1); ++i) {
        if (i > 0) pause_for(FOLDER_PAUSE);
        Reader &reader = take_reader();
        const bool has_handle = is_open(handle);
        const Attempt attempt = has_handle ? lock_and_read(save, reader, out_end) : Attempt::Failed;
        give_reader(reader);
        if (!has_handle) out_end.result = REFUSED;
        if (attempt != Attempt::KeptOut) return attempt == Attempt::Read;
    }
    if (!is_waiting) out_end.why.text[0] = '\0';  // somebody else is at it, and that is no trouble
    return false;
}

SaveEnd save_store(const void *handle, bool is_waiting) {
    SaveEnd end;
    const StandardDescriptors none_of_these;
    Save save;
    if (wait_and_read(handle, save, is_waiting, end) && write_saved_copy(save.folder, save.path, save.image, end.why)) {
        end.result = DONE;
    }
    const Lock lock(noting);
    close_folder(save.folder);
    noted_folder = -1;
    return end;
}

// With `saving` held.
SaveEnd save_now(const void *handle, bool is_waiting) {
    clear_save_pending();  // before the snapshot: what is decided from now on may not be in it
    SaveEnd end = save_store(handle, is_waiting);
    if (end.result != DONE) set_save_pending(save_clock() + BETWEEN_SAVES);
    if (!note_if_new(end.why)) end.why.text[0] = '\0';
    return end;
}

// With no lock held.
Result report_save(const SaveEnd &end) {
    if (end.read_error != 0) (void)report_reading(end.read_error);
    log_refusal(end.why);
    return end.result;
}

}  // namespace

void choose_saved_copy(const StorePath &store_path, bool is_same_store, Refusal &out_why) {
    Refusal why;
    StorePath chosen = {};
    if (!read_saved_path(store_path, chosen, why) && why.text[0] != '\0') {
        chosen.text[0] = '\0';
        note(out_why, "%.500s", why.text);
    }
    // What was decided before the store was closed here is still to be saved.
    if (!is_same_store || strcmp(chosen.text, saved_path.text) != 0) clear_save_pending();
    saved_path = chosen;
}

bool has_saved_copy() { return saved_path.text[0] != '\0'; }

Search find_what_to_restore(const Folder &store_folder, Image &out_image, Refusal &out_why) {
    if (!has_saved_copy()) return Search::Nothing;
    if (!allocate(out_image)) {
        refuse(out_why, "%s %.300s: no memory", saved_path.what, saved_path.text);
        return Search::OutOfReach;
    }
    Folder folder;
    Refusal why;
    if (!open_folder(saved_path, folder, why)) {
        const bool is_absent = is_absence(errno);
        if (!is_absent) refuse(out_why, "%.500s", why.text);
        if (is_absent && note_if_new(why)) note(out_why, "%.500s", why.text);
        return is_absent ? Search::Nothing : Search::OutOfReach;
    }
    if (!is_same_folder(folder, store_folder) && !lock_folder(saved_path, folder, true, why)) {
        if (is_folder_kept(errno)) {
            refuse(out_why, "%.500s", why.text);
            return Search::OutOfReach;
        }
        if (note_if_new(why)) note(out_why, "%.500s", why.text);
    }
    return read_saved_copy(folder, saved_path, out_image, out_why);
}

bool is_pending_save_due() {
    const uint64_t from = pending_from.load(std::memory_order_relaxed);
    return from != NEVER && save_clock() >= from;
}

// What was committed before it was set is in every snapshot that is taken after it was cleared.
void set_save_pending(uint64_t from) { pending_from.exchange(from, std::memory_order_acq_rel); }

uint64_t save_clock() {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint64_t>(now.tv_sec) * NS_PER_SECOND + static_cast<uint64_t>(now.tv_nsec);
}

// A time yet to come is damage, and must not keep all saves off.
uint64_t next_save(uint64_t last, uint64_t now) { return last > now ? now : last + BETWEEN_SAVES; }

void save_by_itself(const void *handle) {
    if (!make_usable() || pthread_mutex_trylock(&saving) != 0) {
        set_save_pending(save_clock() + BETWEEN_SAVES);
        return;
    }
    const SaveEnd end = save_now(handle, false);
    pthread_mutex_unlock(&saving);
    (void)report_save(end);
}

void lock_save_for_fork() { pthread_mutex_lock(&noting); }
void unlock_save_after_fork() { pthread_mutex_unlock(&noting); }

void forget_save() {
    pthread_mutex_init(&saving, nullptr);
    clear_save_pending();
    // The lock is the parent's, and would last as long as a copy of the descriptor.
    if (noted_folder >= 0) close(noted_folder);
    noted_folder = -1;
    unlock_save_after_fork();
}

}  // namespace kora

extern "C" int32_t kora_save(void *handle) {
    using namespace kora;
    if (is_in_group() || !is_open(handle)) return REFUSED;
    if (!make_usable()) return FAILED;
    pthread_mutex_lock(&saving);
    const SaveEnd end = save_now(handle, true);
    pthread_mutex_unlock(&saving);
    return report_save(end);
}
