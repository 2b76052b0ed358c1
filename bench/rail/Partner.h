// A second process of a benchmark: forked before there is a rail, told when to begin, ended by what it waits for.
#ifndef BENCH_RAIL_PARTNER_H
#define BENCH_RAIL_PARTNER_H

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace railbench
{
[[noreturn]] inline void Fail(const char* what)
{
    std::fprintf(stderr, "bench_rail: %s failed\n", what);
    std::_Exit(1);
}

// Quotes of two runs compare only when each side stays on its processor.
inline void PinTo(unsigned cpu)
{
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(cpu % static_cast<unsigned>(sysconf(_SC_NPROCESSORS_ONLN)), &set);
    sched_setaffinity(0, sizeof set, &set);
}

class Partner
{
public:
    template <class Run>
    explicit Partner(Run run)
    {
        int ends[2] = {};
        if (socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends) != 0) Fail("socketpair");
        std::fflush(nullptr);
        Child = fork();
        if (Child < 0) Fail("fork");
        if (Child == 0)
        {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            Descriptor = ends[1];
            close(ends[0]);
            run(*this);
            std::_Exit(0);
        }
        close(ends[1]);
        Descriptor = ends[0];
    }
    ~Partner()
    {
        close(Descriptor);
        waitpid(Child, nullptr, 0);
    }
    Partner(const Partner&) = delete;
    Partner& operator=(const Partner&) = delete;

    void Say() const
    {
        if (write(Descriptor, "x", 1) != 1) Fail("the other process");
    }
    void Hear() const
    {
        char byte = 0;
        if (read(Descriptor, &byte, 1) != 1) Fail("the other process");
    }
    int Line() const { return Descriptor; }

private:
    pid_t Child = -1;
    int Descriptor = -1;
};
} // namespace railbench

#endif
