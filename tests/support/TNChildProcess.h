// A real child process for tests of locks between processes. The child runs
// the given function and leaves with _exit (never returning into the test
// framework); parent and child signal each other through two pipes.
#pragma once

#include <sys/types.h>

#include <functional>

class TNChildProcess {
public:
    // Forks at once. The body's result is the child's exit code.
    explicit TNChildProcess(const std::function<int(TNChildProcess&)>& body);
    ~TNChildProcess();  // kills a child still running
    TNChildProcess(const TNChildProcess&) = delete;
    TNChildProcess& operator=(const TNChildProcess&) = delete;

    // In the child.
    void SignalParent();
    bool WaitForParent(int timeoutMs = 60000);
    // In the parent.
    bool WaitForChild(int timeoutMs = 60000);
    void SignalChild();
    int Join();   // waits for the child; its exit code, or 128+signal
    void Kill();  // SIGKILL and wait

    pid_t Pid() const { return m_pid; }

private:
    pid_t m_pid = -1;
    int m_toParent[2] = {-1, -1};
    int m_toChild[2] = {-1, -1};
    bool m_joined = false;
};
