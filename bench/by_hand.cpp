#include "bench/by_hand.h"

#include <lmdb.h>
#include <pthread.h>
#include <unistd.h>

#include <cstring>

#include "bench/folder.h"

namespace bench {

namespace {

struct Key {
    uint8_t field;
    uint8_t row;
};
constexpr Key CHANGE_NUMBER = {0xff, 0};
constexpr uint8_t WRITTEN_FIELD = RECORD_FIELDS - 1;

MDB_val value_of(const void *data, size_t size) { return {size, const_cast<void *>(data)}; }

void *do_nothing(void *) { return nullptr; }

void run_in_thread(void *(*work)(void *), void *argument) {
    pthread_t thread;
    require(pthread_create(&thread, nullptr, work, argument) == 0, "pthread_create");
    pthread_join(thread, nullptr);
}

class Lmdb final : public ByHand {
public:
    explicit Lmdb(int devices) {
        constexpr size_t MAP_SIZE = 8 << 20;
        require(mdb_env_create(&environment_) == 0 && mdb_env_set_mapsize(environment_, MAP_SIZE) == 0 &&
                    mdb_env_open(environment_, in_folder("by-hand.mdb").c_str(),
                                 MDB_NOSUBDIR | MDB_NOTLS | MDB_NOSYNC | MDB_WRITEMAP, 0600) == 0,
                "mdb_env_open");
        fill(devices);
        require(mdb_txn_begin(environment_, nullptr, MDB_RDONLY, &snapshot_) == 0, "mdb_txn_begin");
        mdb_txn_reset(snapshot_);
    }
    ~Lmdb() override {
        mdb_txn_abort(snapshot_);
        mdb_env_close(environment_);
        for (const char *file : {"by-hand.mdb", "by-hand.mdb-lock"}) (void)unlink(in_folder(file).c_str());
    }
    Lmdb(const Lmdb &) = delete;
    Lmdb &operator=(const Lmdb &) = delete;

    bool read_record(int row, Record &record) override {
        reading_ = {this, row, &record, false};
        run_in_thread([](void *reading) -> void * { return read_in_thread(*static_cast<Reading *>(reading)); },
                      &reading_);
        return reading_.is_done;
    }

    bool write_field(int row, const std::string &text) override {
        writing_ = {this, row, &text, false};
        run_in_thread(
            [](void *writing) -> void * {
                auto &own = *static_cast<Writing *>(writing);
                own.is_done = own.store->write_in_thread(own);
                return nullptr;
            },
            &writing_);
        return writing_.is_done;
    }

private:
    struct Reading {
        Lmdb *store;
        int row;
        Record *record;
        bool is_done;
    };
    struct Writing {
        Lmdb *store;
        int row;
        const std::string *text;
        bool is_done;
    };

    static void *read_in_thread(Reading &reading) {
        Lmdb &store = *reading.store;
        if (mdb_txn_renew(store.snapshot_) != 0) return nullptr;
        reading.is_done = store.read_fields(reading.row, *reading.record);
        mdb_txn_reset(store.snapshot_);
        return nullptr;
    }

    bool read_fields(int row, Record &record) {
        MDB_val key = value_of(&CHANGE_NUMBER, sizeof CHANGE_NUMBER);
        MDB_val value;
        if (mdb_get(snapshot_, values_, &key, &value) != 0) return false;
        for (int field = 0; field < RECORD_FIELDS; ++field) {
            const Key place = {static_cast<uint8_t>(field), static_cast<uint8_t>(row)};
            key = value_of(&place, sizeof place);
            if (mdb_get(snapshot_, values_, &key, &value) != 0) return false;
            copy_field(record.fields[field], static_cast<const char *>(value.mv_data), value.mv_size);
        }
        return true;
    }

    bool write_in_thread(const Writing &writing) {
        MDB_txn *txn = nullptr;
        if (mdb_txn_begin(environment_, nullptr, 0, &txn) != 0) return false;
        const Key mac = {MAC_FIELD, static_cast<uint8_t>(writing.row)};
        MDB_val keys[] = {value_of(&CHANGE_NUMBER, sizeof CHANGE_NUMBER), value_of(&mac, sizeof mac)};
        MDB_val value;
        for (MDB_val &key : keys) {
            if (mdb_get(txn, values_, &key, &value) == 0) continue;
            mdb_txn_abort(txn);
            return false;
        }
        put(txn, {WRITTEN_FIELD, static_cast<uint8_t>(writing.row)}, writing.text->c_str());
        return mdb_txn_commit(txn) == 0;
    }

    void put(MDB_txn *txn, Key place, const char *text) const {
        MDB_val key = value_of(&place, sizeof place);
        MDB_val value = value_of(text, std::strlen(text));
        require(mdb_put(txn, values_, &key, &value, 0) == 0, "mdb_put");
    }

    void fill(int devices) {
        MDB_txn *txn = nullptr;
        require(mdb_txn_begin(environment_, nullptr, 0, &txn) == 0 && mdb_dbi_open(txn, nullptr, 0, &values_) == 0,
                "mdb_dbi_open");
        put(txn, CHANGE_NUMBER, "number");
        for (int device = 0; device < devices; ++device) {
            const Record record = record_of(device);
            for (int field = 0; field < RECORD_FIELDS; ++field) {
                put(txn, {static_cast<uint8_t>(field), static_cast<uint8_t>(device)}, record.fields[field]);
            }
        }
        require(mdb_txn_commit(txn) == 0, "mdb_txn_commit");
    }

    MDB_env *environment_ = nullptr;
    MDB_txn *snapshot_ = nullptr;
    MDB_dbi values_ = 0;
    Reading reading_ = {};
    Writing writing_ = {};
};

}  // namespace

void create_and_join() { run_in_thread(do_nothing, nullptr); }

std::unique_ptr<ByHand> make_by_hand(int devices) { return std::make_unique<Lmdb>(devices); }

}  // namespace bench
