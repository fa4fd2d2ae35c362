// A bare daemon: a process with an array of records, asked over a unix socket, one message there and one back.
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <vector>

#include "bench/alternative.h"
#include "bench/child.h"

namespace bench {

namespace {

enum class Task : int32_t { Read, Write };

struct Question {
    Task task;
    MacText mac;
    char report[REPORTED_FIELDS][FIELD_WIDTH];
};
constexpr size_t READ_QUESTION_SIZE = offsetof(Question, report);

struct Answer {
    int32_t is_found;
    Record record;
};
constexpr size_t WRITE_ANSWER_SIZE = offsetof(Answer, record);

void serve(int socket, int devices) {
    std::vector<Record> records;
    for (int device = 0; device < devices; ++device) records.push_back(record_of(device));
    Question question;
    while (recv(socket, &question, sizeof question, 0) > 0) {
        Answer answer;
        answer.is_found = 0;
        for (Record &record : records) {
            if (std::strcmp(record.fields[MAC_FIELD], question.mac.text) != 0) continue;
            answer.is_found = 1;
            if (question.task == Task::Read)
                answer.record = record;
            else
                std::memcpy(record.fields[MAC_FIELD + 1], question.report, sizeof question.report);
            break;
        }
        const size_t size = question.task == Task::Read ? sizeof answer : WRITE_ANSWER_SIZE;
        if (send(socket, &answer, size, MSG_NOSIGNAL) < 0) return;
    }
}

class SocketPair {
public:
    SocketPair() { require(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends_) == 0, "socketpair"); }
    ~SocketPair() {
        for (const int end : ends_) close(end);
    }
    SocketPair(const SocketPair &) = delete;
    SocketPair &operator=(const SocketPair &) = delete;
    int client() const { return ends_[0]; }
    int server() const { return ends_[1]; }

private:
    int ends_[2];
};

class Daemon final : public Alternative {
public:
    explicit Daemon(int devices) : server_([this, devices] { serve(sockets_.server(), devices); }) {}

    bool read_record(const MacText &mac, Record &record) override {
        const Question question = {Task::Read, mac, {}};
        Answer answer;
        if (!ask(question, READ_QUESTION_SIZE, answer)) return false;
        record = answer.record;
        return true;
    }

    bool write_report(const MacText &mac, const Report &report) override {
        Question question = {Task::Write, mac, {}};
        for (size_t i = 0; i < report.size(); ++i) copy_field(question.report[i], report[i].data(), report[i].size());
        Answer answer;
        return ask(question, sizeof question, answer);
    }

private:
    bool ask(const Question &question, size_t size, Answer &answer) const {
        return send(sockets_.client(), &question, size, MSG_NOSIGNAL) == static_cast<ssize_t>(size) &&
               recv(sockets_.client(), &answer, sizeof answer, 0) >= static_cast<ssize_t>(WRITE_ANSWER_SIZE) &&
               answer.is_found == 1;
    }

    SocketPair sockets_;
    Child server_;
};

}  // namespace

std::unique_ptr<Alternative> make_daemon(int devices) { return std::make_unique<Daemon>(devices); }

}  // namespace bench
