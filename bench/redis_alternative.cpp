// Redis over a unix socket: a hash for each device, one command for each task, nothing saved to a disk.
#include <hiredis/hiredis.h>

#include <cstring>
#include <vector>

#include "bench/alternative.h"
#include "bench/child.h"
#include "bench/folder.h"

namespace bench {

namespace {

// The server's program under the name that its package of tools gives it, so that no service has to be installed.
constexpr const char *SERVER = "/usr/bin/redis-check-rdb";

void serve() {
    become(SERVER, {"redis-server", "--port", "0", "--unixsocket", in_folder("redis.sock"), "--save", "",
                    "--appendonly", "no", "--daemonize", "no", "--dir", in_folder("")});
}

class Redis final : public Alternative {
public:
    explicit Redis(int devices) : server_(serve) {
        require_soon([this] { return connect(); }, "connecting to Redis");
        for (int device = 0; device < devices; ++device) fill(record_of(device));
    }
    ~Redis() override { redisFree(connection_); }
    Redis(const Redis &) = delete;
    Redis &operator=(const Redis &) = delete;

    bool read_record(const MacText &mac, Record &record) override {
        redisReply *reply = run({"HGETALL", mac.text});
        const bool is_found = reply->type == REDIS_REPLY_ARRAY && reply->elements == 2 * RECORD_FIELDS;
        // A hash of this size keeps its fields in the order in which they were first set.
        for (size_t i = 0; is_found && i < RECORD_FIELDS; ++i) {
            copy_field(record.fields[i], reply->element[2 * i + 1]->str, reply->element[2 * i + 1]->len);
        }
        freeReplyObject(reply);
        return is_found;
    }

    bool write_report(const MacText &mac, const Report &report) override {
        std::vector<const char *> words = {"HSET", mac.text};
        for (size_t i = 0; i < report.size(); ++i) {
            words.push_back(FIELD_NAMES[MAC_FIELD + 1 + i]);
            words.push_back(report[i].c_str());
        }
        return take_number(run(words));
    }

private:
    bool connect() {
        connection_ = redisConnectUnix(in_folder("redis.sock").c_str());
        if (connection_ != nullptr && connection_->err == 0) return true;
        redisFree(connection_);
        connection_ = nullptr;
        return false;
    }
    redisReply *run(const std::vector<const char *> &words) {
        auto *reply = redisCommandArgv(connection_, static_cast<int>(words.size()),
                                       const_cast<const char **>(words.data()), nullptr);
        require(reply != nullptr, "a Redis command");
        return static_cast<redisReply *>(reply);
    }
    static bool take_number(redisReply *reply) {
        const bool is_number = reply->type == REDIS_REPLY_INTEGER;
        freeReplyObject(reply);
        return is_number;
    }
    void fill(const Record &record) {
        std::vector<const char *> words = {"HSET", record.fields[MAC_FIELD]};
        for (int i = 0; i < RECORD_FIELDS; ++i) {
            words.push_back(FIELD_NAMES[i]);
            words.push_back(record.fields[i]);
        }
        require(take_number(run(words)), "filling Redis");
    }

    Child server_;
    redisContext *connection_ = nullptr;
};

}  // namespace

std::unique_ptr<Alternative> make_redis(int devices) { return std::make_unique<Redis>(devices); }

}  // namespace bench
