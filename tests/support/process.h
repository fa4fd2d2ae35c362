// Bodies of tests that run in processes of their own.
#ifndef SARN_TESTS_PROCESS_H
#define SARN_TESTS_PROCESS_H

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

inline constexpr int KILLED = -SIGKILL;

template <class Body>
pid_t start_process(Body body) {
    const pid_t pid = fork();
    if (pid != 0) return pid;
    alarm(600);  // what hangs is a failure
    _exit(body());
}

// What the body returned, or the signal that ended it, negative.
inline int end_of(pid_t pid) {
    int status = 0;
    EXPECT_EQ(waitpid(pid, &status, 0), pid);
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

template <class Body>
int run_process(Body body) {
    return end_of(start_process(body));
}

#endif
