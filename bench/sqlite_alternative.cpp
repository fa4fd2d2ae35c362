// SQLite in WAL mode: a table with a row for each device, opened by every process; prepared statements.
#include <sqlite3.h>
#include <unistd.h>

#include "bench/alternative.h"
#include "bench/folder.h"

namespace bench {

namespace {

std::string field_list(const char *separator, const char *behind, int from, int to) {
    std::string list;
    for (int i = from; i < to; ++i) list += (i == from ? "" : separator) + std::string(FIELD_NAMES[i]) + behind;
    return list;
}

class Sqlite final : public Alternative {
public:
    explicit Sqlite(int devices) {
        require(sqlite3_open(in_folder("sqlite.db").c_str(), &database_) == SQLITE_OK, "sqlite3_open");
        run("PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL;");
        run("CREATE TABLE devices(" + field_list(", ", " TEXT DEFAULT ''", 0, RECORD_FIELDS) +
            ", PRIMARY KEY(DeviceMAC)) WITHOUT ROWID;");
        read_ = prepare("SELECT * FROM devices WHERE DeviceMAC=?");
        write_ = prepare("UPDATE devices SET " + field_list(", ", "=?", 1, 1 + REPORTED_FIELDS) + " WHERE DeviceMAC=?");
        for (int device = 0; device < devices; ++device) {
            const MacText mac = mac_of(device);
            run("INSERT INTO devices(DeviceMAC) VALUES('" + std::string(mac.text) + "');");
            require(write_report(mac, report_of(device, -1)), "filling SQLite");
        }
    }
    ~Sqlite() override {
        sqlite3_finalize(read_);
        sqlite3_finalize(write_);
        sqlite3_close(database_);
        for (const char *file : {"sqlite.db", "sqlite.db-wal", "sqlite.db-shm"}) (void)unlink(in_folder(file).c_str());
    }
    Sqlite(const Sqlite &) = delete;
    Sqlite &operator=(const Sqlite &) = delete;

    bool read_record(const MacText &mac, Record &record) override {
        sqlite3_bind_text(read_, 1, mac.text, -1, SQLITE_STATIC);
        const bool is_found = sqlite3_step(read_) == SQLITE_ROW && sqlite3_column_count(read_) == RECORD_FIELDS;
        for (int i = 0; is_found && i < RECORD_FIELDS; ++i) {
            const auto *text = reinterpret_cast<const char *>(sqlite3_column_text(read_, i));
            copy_field(record.fields[i], text, static_cast<size_t>(sqlite3_column_bytes(read_, i)));
        }
        sqlite3_reset(read_);
        return is_found;
    }

    bool write_report(const MacText &mac, const Report &report) override {
        int place = 1;
        for (const std::string &text : report) sqlite3_bind_text(write_, place++, text.c_str(), -1, SQLITE_STATIC);
        sqlite3_bind_text(write_, place, mac.text, -1, SQLITE_STATIC);
        const bool is_done = sqlite3_step(write_) == SQLITE_DONE && sqlite3_changes(database_) == 1;
        sqlite3_reset(write_);
        return is_done;
    }

private:
    void run(const std::string &text) {
        require(sqlite3_exec(database_, text.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK, text.c_str());
    }
    sqlite3_stmt *prepare(const std::string &text) {
        sqlite3_stmt *statement = nullptr;
        require(sqlite3_prepare_v2(database_, text.c_str(), -1, &statement, nullptr) == SQLITE_OK, text.c_str());
        return statement;
    }

    sqlite3 *database_ = nullptr;
    sqlite3_stmt *read_ = nullptr;
    sqlite3_stmt *write_ = nullptr;
};

}  // namespace

std::unique_ptr<Alternative> make_sqlite(int devices) { return std::make_unique<Sqlite>(devices); }

}  // namespace bench
