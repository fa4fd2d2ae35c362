#include "bench/child.h"

#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "bench/device.h"
#include "bench/folder.h"

namespace bench {

namespace {

void move_to_server_cpu() {
    const char *cpu = getenv("BENCH_SERVER_CPU");
    if (cpu == nullptr || cpu[0] == '\0') return;
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(static_cast<size_t>(std::atoi(cpu)), &set);
    require(sched_setaffinity(0, sizeof set, &set) == 0, "moving a server to BENCH_SERVER_CPU");
}

}  // namespace

Child::Child(const std::function<void()> &serve) {
    const pid_t parent = getpid();
    process_ = fork();
    require(process_ >= 0, "fork");
    if (process_ > 0) return;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) _exit(EXIT_FAILURE);
    move_to_server_cpu();
    serve();
    _exit(EXIT_SUCCESS);
}

Child::~Child() {
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
}

void become(const char *path, std::vector<std::string> arguments) {
    std::vector<char *> pointers;
    for (std::string &argument : arguments) pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    const int nowhere = open("/dev/null", O_RDWR | O_CLOEXEC);
    dup2(nowhere, STDIN_FILENO);
    dup2(nowhere, STDOUT_FILENO);
    const int log = open(in_folder("server.log").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    dup2(log, STDERR_FILENO);
    execv(path, pointers.data());
    _exit(EXIT_FAILURE);
}

void require_soon(const std::function<bool()> &is_there, const char *what) {
    constexpr int TRIES = 5000;
    for (int i = 0; i < TRIES; ++i) {
        if (is_there()) return;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    give_up(what);
}

}  // namespace bench
