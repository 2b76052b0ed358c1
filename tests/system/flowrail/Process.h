// A child process of a test, and words between the two. A child that is left behind is killed.
#ifndef TESTS_SYSTEM_FLOWRAIL_PROCESS_H
#define TESTS_SYSTEM_FLOWRAIL_PROCESS_H

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace railtest
{
// One end of the line between test and child.
class Line
{
public:
    explicit Line(int descriptor) : Descriptor(descriptor) {}
    void Say(uint64_t word) const
    {
        if (write(Descriptor, &word, sizeof word) != static_cast<ssize_t>(sizeof word)) _exit(90);
    }
    // kSilence when the other end is gone or has said nothing for 20 seconds.
    uint64_t Hear() const
    {
        uint64_t word = kSilence;
        pollfd waiting{Descriptor, POLLIN, 0};
        if (poll(&waiting, 1, 20000) != 1 || read(Descriptor, &word, sizeof word) != static_cast<ssize_t>(sizeof word))
            return kSilence;
        return word;
    }
    static constexpr uint64_t kSilence = UINT64_MAX;

private:
    int Descriptor;
};

class Process
{
public:
    // `run` gives the exit code. The child shares no open rail with the test as long as the test has none yet, or
    // has opened it itself: what the child inherits stays open as long as it lives.
    explicit Process(const std::function<int(const Line&)>& run)
    {
        int ends[2] = {};
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends), 0);
        std::fflush(nullptr); // or the child prints it once more
        const pid_t parent = getpid();
        Child = fork();
        EXPECT_GE(Child, 0);
        if (Child == 0)
        {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            if (getppid() != parent) _exit(91);
            close(ends[0]);
            _exit(run(Line(ends[1])));
        }
        close(ends[1]);
        Descriptor = ends[0];
    }
    ~Process()
    {
        if (Child > 0) Kill();
        close(Descriptor);
    }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    Line Talk() const { return Line(Descriptor); }
    void Signal(int number) const { kill(Child, number); }

    // Gone, and its locks with it, when this returns.
    void Kill()
    {
        kill(Child, SIGKILL);
        waitpid(Child, nullptr, 0);
        Child = -1;
    }

    // The exit code; 1000 and the signal when it was killed.
    int Wait()
    {
        int status = 0;
        if (waitpid(Child, &status, 0) != Child) return -1;
        Child = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
    }

private:
    pid_t Child = -1;
    int Descriptor = -1;
};
} // namespace railtest

#endif
