#include "tests/support/TNChildProcess.h"

#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <stdexcept>

namespace {

bool WaitByte(int fd, int timeoutMs) {
    pollfd p{fd, POLLIN, 0};
    if (poll(&p, 1, timeoutMs) <= 0) return false;
    char c;
    return read(fd, &c, 1) == 1;
}

}  // namespace

TNChildProcess::TNChildProcess(const std::function<int(TNChildProcess&)>& body) {
    if (pipe(m_toParent) != 0 || pipe(m_toChild) != 0) throw std::runtime_error("pipe failed");
    std::fflush(nullptr);
    m_pid = fork();
    if (m_pid < 0) throw std::runtime_error("fork failed");
    if (m_pid == 0) {
        int code = 1;
        try {
            code = body(*this);
        } catch (...) {
            code = 99;
        }
        _exit(code);
    }
}

TNChildProcess::~TNChildProcess() {
    if (!m_joined && m_pid > 0) Kill();
    for (int fd : {m_toParent[0], m_toParent[1], m_toChild[0], m_toChild[1]})
        if (fd >= 0) close(fd);
}

void TNChildProcess::SignalParent() { (void)!write(m_toParent[1], "x", 1); }
bool TNChildProcess::WaitForParent(int timeoutMs) { return WaitByte(m_toChild[0], timeoutMs); }
bool TNChildProcess::WaitForChild(int timeoutMs) { return WaitByte(m_toParent[0], timeoutMs); }
void TNChildProcess::SignalChild() { (void)!write(m_toChild[1], "x", 1); }

int TNChildProcess::Join() {
    if (m_joined) return -1;
    int status = 0;
    waitpid(m_pid, &status, 0);
    m_joined = true;
    if (WIFEXITED(status)) return WEXITSTATUS(status);
    if (WIFSIGNALED(status)) return 128 + WTERMSIG(status);
    return -1;
}

void TNChildProcess::Kill() {
    if (m_joined) return;
    kill(m_pid, SIGKILL);
    Join();
}
