#include "bench/by_hand.h"

#include <lmdb.h>
#include <pthread.h>
#include <unistd.h>

#include <chrono>
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

template <typename Work>
void run_in_thread(Work work) {
    pthread_t thread;
    const auto start = [](void *own) -> void * {
        (*static_cast<Work *>(own))();
        return nullptr;
    };
    require(pthread_create(&thread, nullptr, start, &work) == 0, "pthread_create");
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
        bool is_done = false;
        run_in_thread([&] {
            if (mdb_txn_renew(snapshot_) != 0) return;
            is_done = read_fields(row, record);
            mdb_txn_reset(snapshot_);
        });
        return is_done;
    }

    bool write_field(int row, const std::string &text) override {
        bool is_done = false;
        run_in_thread([&] { is_done = write_in_thread(row, text); });
        return is_done;
    }

private:
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

    bool write_in_thread(int row, const std::string &text) {
        MDB_txn *txn = nullptr;
        if (mdb_txn_begin(environment_, nullptr, 0, &txn) != 0) return false;
        const Key mac = {MAC_FIELD, static_cast<uint8_t>(row)};
        MDB_val keys[] = {value_of(&CHANGE_NUMBER, sizeof CHANGE_NUMBER), value_of(&mac, sizeof mac)};
        MDB_val value;
        for (MDB_val &key : keys) {
            if (mdb_get(txn, values_, &key, &value) == 0) continue;
            mdb_txn_abort(txn);
            return false;
        }
        put(txn, {WRITTEN_FIELD, static_cast<uint8_t>(row)}, text.c_str());
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
};

}  // namespace

void create_and_join() {
    run_in_thread([] {});
}

void create_busy_and_join() {
    using Clock = std::chrono::steady_clock;
    run_in_thread([] {
        const Clock::time_point end = Clock::now() + std::chrono::microseconds(4);
        while (Clock::now() < end) continue;
    });
}

std::unique_ptr<ByHand> make_by_hand(int devices) { return std::make_unique<Lmdb>(devices); }

}  // namespace bench
