#include "kora_environment.h"

#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "kora_schema.h"

namespace kora {

namespace {

// The live store lies in memory, and after a power cut it is gone: nothing is synced. A reader belongs to an operation
// and not to a thread, since a worker thread lives for one call. No MDB_WRITEMAP: writes go through write(2), which
// answers an error where a mapping would end the process.
constexpr unsigned FLAGS = MDB_NOSUBDIR | MDB_NOTLS | MDB_NOSYNC;
constexpr mode_t FILE_MODE = 0660;

// First entry of every store, so that a foreign file or one of another version is never taken for one.
struct Format {
    char magic[8];
    uint32_t version;
    uint32_t schema;
};
static_assert(sizeof(Format) == 16, "no padding: it is compared as bytes");
constexpr char MAGIC[sizeof Format::magic + 1] = "KORAlive";
constexpr uint32_t VERSION = 1;

Format own_format() {
    Format format = {{}, VERSION, schema_fingerprint()};
    memcpy(format.magic, MAGIC, sizeof format.magic);
    return format;
}

int open_lmdb(const char *file, unsigned extra_flags, MDB_env *&out_lmdb) {
    out_lmdb = nullptr;
    int error = mdb_env_create(&out_lmdb);
    if (error == 0) error = mdb_env_set_mapsize(out_lmdb, STORE_SIZE);
    if (error == 0) error = mdb_env_open(out_lmdb, file, FLAGS | extra_flags, FILE_MODE);
    if (error != 0) {
        mdb_env_close(out_lmdb);
        out_lmdb = nullptr;
    }
    return error;
}

int write_format(MDB_env *lmdb) {
    MDB_txn *txn = nullptr;
    MDB_dbi values = 0;
    int error = mdb_txn_begin(lmdb, nullptr, 0, &txn);
    if (error != 0) return error;
    const Format format = own_format();
    MDB_val key = value_of(FORMAT_KEY);
    MDB_val value = value_of(&format, sizeof format);
    error = mdb_dbi_open(txn, nullptr, 0, &values);
    if (error == 0) error = mdb_put(txn, values, &key, &value, 0);
    if (error == 0) return mdb_txn_commit(txn);
    mdb_txn_abort(txn);
    return error;
}

// Under another name and then moved, so that whoever is killed here leaves no half store behind.
bool make_store(const Folder &folder, const StorePath &path, Refusal &out_why) {
    char file[PATH_MAX];
    int fd = -1;
    MDB_env *lmdb = nullptr;
    if (!append_suffix(path, ".new", file, out_why) || !make_fresh_file(folder, path, fd, out_why)) return false;
    int error = open_lmdb(file, MDB_NOLOCK, lmdb);
    if (error == 0) error = write_format(lmdb);
    if (lmdb != nullptr) mdb_env_close(lmdb);
    const bool is_made = error == 0
                             ? publish_fresh_file(folder, path, fd, out_why)
                             : refuse(out_why, "store %.300s: cannot be made: %s", path.text, mdb_strerror(error));
    close(fd);
    if (!is_made) drop_fresh_file(folder, path);
    return is_made;
}

bool check_format(const StorePath &path, Environment &environment, Refusal &out_why) {
    MDB_txn *txn = nullptr;
    int error = mdb_txn_begin(environment.lmdb, nullptr, MDB_RDONLY, &txn);
    if (error != 0) return refuse(out_why, "store %.300s: cannot be read: %s", path.text, mdb_strerror(error));
    MDB_val key = value_of(FORMAT_KEY);
    MDB_val value = value_of(nullptr, 0);
    Format found = {};
    error = mdb_dbi_open(txn, nullptr, 0, &environment.values);
    if (error == 0) error = mdb_get(txn, environment.values, &key, &value);
    if (error == 0 && value.mv_size == sizeof found) memcpy(&found, value.mv_data, sizeof found);
    mdb_txn_commit(txn);  // not abort: it keeps the handle of `values`

    const Format own = own_format();
    if (error == 0 && memcmp(&found, &own, sizeof own) == 0) return true;
    if (error == 0 && memcmp(found.magic, own.magic, sizeof own.magic) == 0) {
        return refuse(out_why, "store %.300s: of another version (format %u, fields %08x; wanted %u, %08x)", path.text,
                      found.version, found.schema, own.version, own.schema);
    }
    return refuse(out_why, "store %.300s: not a store of this system", path.text);
}

// LMDB opens the file by its name once more, and follows what the file says about its own size.
bool check_mapping(const StorePath &path, const Environment &environment, Refusal &out_why) {
    MDB_envinfo info;
    struct stat ours, mapped;
    int fd = -1;
    if (mdb_env_info(environment.lmdb, &info) != 0 || mdb_env_get_fd(environment.lmdb, &fd) != 0) {
        return refuse(out_why, "store %.300s: cannot be looked at", path.text);
    }
    if (info.me_mapsize != STORE_SIZE) {
        return refuse(out_why, "store %.300s: says that it is longer than its file: damaged", path.text);
    }
    if (fstat(environment.claim_fd, &ours) != 0 || fstat(fd, &mapped) != 0 || ours.st_dev != mapped.st_dev ||
        ours.st_ino != mapped.st_ino) {
        return refuse(out_why, "store %.300s: was replaced while it was being opened", path.text);
    }
    fcntl(fd, F_SETFD, FD_CLOEXEC);  // LMDB leaves this one open in programs that the process starts
    return true;
}

bool map_store(const Folder &folder, const StorePath &path, Environment &environment, Refusal &out_why) {
    bool is_shared = false;
    if (!claim_store_file(environment.claim_fd, path, is_shared, out_why)) return false;
    if (!prepare_lock_file(folder, path, is_shared, out_why)) return false;
    const int error = open_lmdb(path.text, 0, environment.lmdb);
    if (error != 0) return refuse(out_why, "store %.300s: cannot be opened: %s", path.text, mdb_strerror(error));
    int dead_readers = 0;
    mdb_reader_check(environment.lmdb, &dead_readers);  // of killed processes; they would pile up
    return check_mapping(path, environment, out_why) && check_format(path, environment, out_why);
}

}  // namespace

bool open_environment(const StorePath &path, Environment &out_environment, Refusal &out_why) {
    Folder folder;
    Environment opened;
    bool is_open = enter_folder(path, folder, out_why) && open_store_file(folder, path, opened.claim_fd, out_why);
    if (is_open && opened.claim_fd < 0) {
        is_open = make_store(folder, path, out_why) && open_store_file(folder, path, opened.claim_fd, out_why);
    }
    is_open = is_open && map_store(folder, path, opened, out_why);
    if (is_open) {
        out_environment = opened;
        return true;
    }
    if (opened.lmdb != nullptr) mdb_env_close(opened.lmdb);
    if (opened.claim_fd >= 0) close(opened.claim_fd);
    return false;
}

void close_environment(const StorePath &path, Environment &environment) {
    // The last process to close takes LMDB's locks apart, and none may be opening meanwhile.
    Folder folder;
    Refusal ignored;
    enter_folder(path, folder, ignored);
    mdb_env_close(environment.lmdb);
    close(environment.claim_fd);
    environment = Environment{};
}

void forget_environment(Environment &environment) {
    if (environment.claim_fd >= 0) close(environment.claim_fd);
    environment = Environment{};
}

}  // namespace kora
