// Processes that serve an alternative: started by a benchmark, and ended with it however it ends.
#ifndef SARN_BENCH_CHILD_H
#define SARN_BENCH_CHILD_H

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

namespace bench {

// Runs `serve` in a process of its own, which is killed with this object and, by the kernel, with the process that
// made it. It runs on the CPU that BENCH_SERVER_CPU names, if it names one.
class Child {
public:
    explicit Child(const std::function<void()> &serve);
    ~Child();
    Child(const Child &) = delete;
    Child &operator=(const Child &) = delete;

private:
    pid_t process_;
};

// Becomes the program at `path`; what it says goes to "server.log". The first argument is the name under which it runs.
[[noreturn]] void become(const char *path, std::vector<std::string> arguments);

// A server needs a moment until it answers.
void require_soon(const std::function<bool()> &is_there, const char *what);

}  // namespace bench

#endif
