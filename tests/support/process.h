// Bodies of tests that run in processes of their own.
#ifndef SARN_TESTS_PROCESS_H
#define SARN_TESTS_PROCESS_H

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

inline constexpr int KILLED = -SIGKILL;

template <class Body>
pid_t start_process(Body body) {
    const pid_t pid = fork();
    if (pid < 0) perror("fork"), abort();  // as the number of a process, -1 is all of them
    if (pid != 0) return pid;
    alarm(600);  // what hangs is a failure

    // 256 would be 0 again.
    _exit(static_cast<int>(std::min(static_cast<unsigned>(body()), 255U)));
}

// What the body returned, 255 for what is larger or negative, or the signal that ended it, negative.
inline int end_of(pid_t pid) {
    int status = 0;
    if (waitpid(pid, &status, 0) != pid) return 255;  // told to the caller: nobody sees what a child expects
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

template <class Body>
int run_process(Body body) {
    return end_of(start_process(body));
}

#endif
