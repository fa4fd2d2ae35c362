#include "kora_environment.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include "kora_check.h"
#include "kora_descriptors.h"
#include "kora_fence.h"
#include "kora_files.h"
#include "kora_format.h"
#include "kora_lock_file.h"
#include "kora_save.h"
#include "kora_snapshot.h"
#include "kora_walk.h"

namespace kora {

namespace {

// The live store lies in memory, and after a power cut it is gone: nothing is synced. A reader belongs to an operation
// and not to a thread, since a worker thread lives for one call.
constexpr unsigned FLAGS = MDB_NOSUBDIR | MDB_NOTLS | MDB_NOSYNC;

// Without a system call for each page, a write takes a quarter of the time. Only on a file that is reserved whole:
// where no page is to be had, a mapping ends the process. The price is that a stray pointer of any daemon can reach the
// store.
constexpr unsigned IN_PLACE = IS_UNDER_THREAD_SANITIZER ? 0 : MDB_WRITEMAP;

// LMDB opens the file by its name once more, and where that was just removed makes one that nobody could open later.
int check_opened_file(MDB_env *lmdb, int lmdb_fd, const char *file, int wanted_fd) {
    struct stat opened, wanted;
    MDB_envinfo info;
    if (fstat(lmdb_fd, &opened) != 0 || fstat(wanted_fd, &wanted) != 0) return errno;
    if (is_same_file(opened, wanted)) return 0;
    const bool is_just_made = mdb_env_info(lmdb, &info) == 0 && info.me_last_txnid == 0;
    if (is_just_made) unlink(file);
    return ESTALE;
}

// The file is the one that is open as `wanted_fd`.
int open_lmdb(const char *file, int wanted_fd, unsigned extra_flags, MDB_env *&out_lmdb) {
    out_lmdb = nullptr;
    int error = mdb_env_create(&out_lmdb);
    if (error == 0) error = mdb_env_set_mapsize(out_lmdb, STORE_SIZE);
    if (error == 0) error = mdb_env_open(out_lmdb, file, FLAGS | extra_flags, FILE_MODE);
    int fd = -1;
    if (error == 0) error = mdb_env_get_fd(out_lmdb, &fd);
    if (error == 0) fcntl(fd, F_SETFD, FD_CLOEXEC);  // LMDB leaves it open in programs that the process starts
    if (error == 0) error = check_opened_file(out_lmdb, fd, file, wanted_fd);
    if (error != 0) {
        mdb_env_close(out_lmdb);
        out_lmdb = nullptr;
    }
    return error;
}

const char *text_of(int error) { return error == ESTALE ? "removed or replaced meanwhile" : mdb_strerror(error); }

// Two stores never begin with the same number: it tells a process too that its store was replaced, and a save which
// list a copy is of.
uint64_t first_number() {
    uint64_t number = 0;
    if (getrandom(&number, sizeof number, GRND_NONBLOCK) != sizeof number)
        number = save_clock() << 16 ^ static_cast<uint64_t>(getpid());
    return number | 1;  // nor is it FROM_A_COPY
}

int put_restored(void *walk, Place place, Bytes value) {
    return put_key(*static_cast<Walk *>(walk), key_of(place), value);
}

int fill_store(Walk &walk, const Image *restored) {
    const Format format = own_format();
    const uint64_t number = first_number();
    const int error = put_key(walk, FORMAT_KEY, {&format, sizeof format});
    if (error != 0) return error;
    if (restored != nullptr) return for_each_value(*restored, put_restored, &walk);
    return put_key(walk, BEGUN_KEY, {&number, sizeof number});
}

// Where nobody else has the store open: it may be an older copy of one, which others go on from.
int renew_change_number(Walk &walk) {
    const uint64_t number = first_number();
    return put_key(walk, CHANGES_KEY, {&number, sizeof number});
}

template <typename Body>
int write_alone(MDB_env *lmdb, Body body) {
    MDB_txn *txn = nullptr;
    MDB_dbi values = 0;
    Walk walk;
    int error = mdb_txn_begin(lmdb, nullptr, 0, &txn);
    if (error != 0) return error;
    error = mdb_dbi_open(txn, nullptr, 0, &values);
    begin_walk(walk, txn, values);
    if (error == 0) error = body(walk);
    close_walk(walk);
    if (error == 0) return mdb_txn_commit(txn);
    mdb_txn_abort(txn);
    return error;
}

bool fill_fresh_file(const StorePath &path, int fd, const Image *restored, Refusal &out_why) {
    char file[PATH_MAX];
    MDB_env *lmdb = nullptr;
    snprintf(file, sizeof file, "%.*s%s", PATH_MAX - SUFFIX_SIZE, path.text, suffix::FRESH);
    int error = open_lmdb(file, fd, MDB_NOLOCK, lmdb);
    if (error == 0) error = write_alone(lmdb, [&](Walk &walk) { return fill_store(walk, restored); });
    if (lmdb != nullptr) mdb_env_close(lmdb);
    if (error == 0) return true;
    refuse(out_why, "store %.300s: cannot be made: %s", path.text, text_of(error));
    errno = error;
    return false;
}

// Under another name and then moved, so that whoever is killed here leaves no half store behind. errno says why not.
bool make_fresh_store(const Folder &folder, const StorePath &path, const Image *restored, Refusal &out_why) {
    Descriptor file(-1);
    if (make_fresh_store_file(folder, path, file.fd, out_why) && fill_fresh_file(path, file.fd, restored, out_why) &&
        publish_fresh_file(folder, path, file.fd, out_why))
        return true;
    const int error = errno;
    drop_fresh_file(folder, path);
    errno = error;
    return false;
}

bool make_store(const Folder &folder, const StorePath &path, Refusal &out_why) {
    Image image;
    const Search search = find_what_to_restore(folder, image, out_why);
    if (search == Search::OutOfReach) return false;  // the empty one would be saved over it
    const Image *restored = search == Search::Found ? &image : nullptr;
    if (make_fresh_store(folder, path, restored, out_why)) return true;
    if (errno != ENOSPC || !drop_set_aside(folder, path, out_why)) return false;
    out_why.text[0] = '\0';
    return make_fresh_store(folder, path, restored, out_why);
}

// As LMDB compares them itself, but without a call of memcmp for each of the dozen keys that a search meets.
int compare_keys(const MDB_val *one, const MDB_val *other) {
    if (one->mv_size != sizeof(KeyBytes) || other->mv_size != sizeof(KeyBytes))
        return one->mv_size < other->mv_size ? -1 : 1;
    const Key first = key_of(*static_cast<const KeyBytes *>(one->mv_data));
    const Key second = key_of(*static_cast<const KeyBytes *>(other->mv_data));
    return static_cast<int>(first) - static_cast<int>(second);
}

bool refuse_origin(const StorePath &path, const Format &found, Refusal &out_why) {
    const Format own = own_format();
    if (origin_of(found) == Origin::Foreign) {
        return refuse(out_why, "store %.300s: not a store of this system", path.text);
    }
    return refuse(out_why, "store %.300s: of another version (format %u, fields %08x; wanted %u, %08x)", path.text,
                  found.version, found.schema, own.version, own.schema);
}

bool check_format(const StorePath &path, Environment &environment, Refusal &out_why) {
    MDB_txn *txn = nullptr;
    int error = mdb_txn_begin(environment.lmdb, nullptr, MDB_RDONLY, &txn);
    if (error != 0) return refuse(out_why, "store %.300s: cannot be read: %s", path.text, mdb_strerror(error));
    size_t transaction = 0;
    KeyBytes key_bytes = bytes_of(FORMAT_KEY);
    MDB_val key = {sizeof key_bytes, &key_bytes};
    MDB_val value = {};
    Format found = {};
    error = settle_snapshot(environment.lmdb, txn, transaction);
    if (error == 0) error = mdb_dbi_open(txn, nullptr, 0, &environment.values);
    if (error == 0) error = mdb_set_compare(txn, environment.values, compare_keys);
    if (error == 0) error = mdb_get(txn, environment.values, &key, &value);
    if (error == 0) found = read_format(value.mv_data, value.mv_size);
    mdb_txn_commit(txn);  // not abort: it keeps the handle of `values`
    if (error != 0 && error != MDB_NOTFOUND)
        return refuse(out_why, "store %.300s: cannot be read: %s", path.text, mdb_strerror(error));
    // Which start of the machine it is from has been looked at, or others have it open now.
    return is_own_version(found) || refuse_origin(path, found, out_why);
}

// LMDB follows what the file says about its own size, and makes a lock file where that was just removed.
bool check_mapping(const Folder &folder, const StorePath &path, Environment &environment, Refusal &out_why) {
    MDB_envinfo info;
    int fd = -1;
    if (mdb_env_info(environment.lmdb, &info) != 0 || mdb_env_get_fd(environment.lmdb, &fd) != 0) {
        return refuse(out_why, "store %.300s: cannot be looked at", path.text);
    }
    if (info.me_mapsize != STORE_SIZE) {
        return refuse(out_why, "store %.300s: says that it is longer than its file: damaged", path.text);
    }
    if (fstat(environment.claim_fd, &environment.file) != 0)
        return refuse_for(path, out_why, "cannot be looked at", errno);
    if (!is_lock_file_in_place(folder, path)) {
        return refuse(out_why, "store %.300s: its lock file was removed while it was being opened", path.text);
    }
    environment.lmdb_fds[0] = fd;
    environment.lmdb_fds[1] = find_lock_file(folder, path, fd);
    return true;
}

enum class Finding : uint8_t { Usable, Refused, Absent };  // Absent: nothing lies there, or no longer

// Nobody else has the file open. What is ours and no longer to be trusted makes room for the saved copy.
Finding check_store_file(const Folder &folder, const StorePath &path, int fd, Refusal &out_why) {
    const FileLook look = look_at_file(fd);
    if (look.error != 0) {
        refuse_for(path, out_why, "cannot be looked at", look.error);
        return Finding::Refused;
    }
    const Origin origin = origin_of(look.format);
    if (!look.is_ours || origin == Origin::OtherVersion) {
        refuse_origin(path, look.format, out_why);
        return Finding::Refused;
    }
    if (look.is_whole && origin == Origin::Own) return Finding::Usable;
    const char *reason = look.is_whole ? "from before the last restart" : "damaged";
    return set_aside(folder, path, suffix::NONE, reason, out_why) ? Finding::Absent : Finding::Refused;
}

bool map_store(const Folder &folder, const StorePath &path, bool is_shared, Environment &environment,
               Refusal &out_why) {
    if (!prepare_lock_file(folder, path, is_shared, out_why)) return false;
    const int error = open_lmdb(path.text, environment.claim_fd, IN_PLACE, environment.lmdb);
    if (error != 0) return refuse(out_why, "store %.300s: cannot be opened: %s", path.text, text_of(error));
    int dead_readers = 0;
    mdb_reader_check(environment.lmdb, &dead_readers);  // of killed processes; they would pile up
    environment.writing_process = map_mark(folder, path);
    environment.process = getpid();
    return check_mapping(folder, path, environment, out_why) && check_format(path, environment, out_why);
}

// Opens what lies there, or says that there is nothing to be opened.
Finding open_present_store(const Folder &folder, const StorePath &path, Environment &opened, Refusal &out_why) {
    bool is_shared = false;
    if (!open_store_file(folder, path, opened.claim_fd, out_why)) return Finding::Refused;
    if (opened.claim_fd < 0) return Finding::Absent;
    if (!claim_store_file(opened.claim_fd, path, is_shared, out_why)) return Finding::Refused;
    const Finding finding = is_shared ? Finding::Usable : check_store_file(folder, path, opened.claim_fd, out_why);
    if (finding != Finding::Usable) return finding;
    if (!is_shared && !reserve_store_file(path, opened.claim_fd, out_why)) return Finding::Refused;
    if (!map_store(folder, path, is_shared, opened, out_why)) return Finding::Refused;
    const int error = is_shared ? 0 : write_alone(opened.lmdb, renew_change_number);
    if (error != 0) refuse(out_why, "store %.300s: cannot be written: %s", path.text, mdb_strerror(error));
    return error == 0 ? Finding::Usable : Finding::Refused;
}

void forget_environment(Environment &environment) {
    unmap_mark(environment.writing_process);
    if (environment.claim_fd >= 0) close(environment.claim_fd);
    environment = Environment{};
}

void drop_environment(Environment &environment) {
    if (environment.lmdb != nullptr) mdb_env_close(environment.lmdb);
    give_up_claim(environment.claim_fd);
    forget_environment(environment);
}

}  // namespace

bool open_environment(const StorePath &path, Environment &out_environment, Refusal &out_why) {
    const StandardDescriptors none_of_these;
    Folder folder;
    Environment opened;
    if (!enter_folder(path, folder, out_why)) return false;
    Finding finding = open_present_store(folder, path, opened, out_why);
    if (finding == Finding::Absent) {
        drop_environment(opened);
        finding =
            make_store(folder, path, out_why) ? open_present_store(folder, path, opened, out_why) : Finding::Refused;
        if (finding == Finding::Absent)
            refuse(out_why, "store %.300s: was removed while it was being opened", path.text);
    }
    if (finding == Finding::Usable) {
        out_environment = opened;
        return true;
    }
    drop_environment(opened);
    return false;
}

void leave_environment_to_parent(Environment &environment) {
    for (const int fd : environment.lmdb_fds) {
        if (fd >= 0) close(fd);
    }
    forget_environment(environment);
}

void close_environment(const StorePath &path, Environment &environment) {
    // The last process to close takes LMDB's locks apart, and none may be opening meanwhile. Where those cannot be kept
    // out, LMDB's part is left open until this process ends.
    Folder folder;
    Refusal ignored;
    if (!enter_folder(path, folder, ignored)) environment.lmdb = nullptr;
    drop_environment(environment);
}

}  // namespace kora
