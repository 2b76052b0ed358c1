// A thread on a core that was chosen for it.
#pragma once

#include <sched.h>
#include <stdexcept>

namespace bench
{

// Keeps the calling thread on a core as long as the object lives. What the thread starts meanwhile stays there.
class Pinned
{
public:
    explicit Pinned(unsigned core)
    {
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(core, &one);
        if (sched_getaffinity(0, sizeof Before, &Before) != 0 || sched_setaffinity(0, sizeof one, &one) != 0)
            throw std::runtime_error("a thread cannot be pinned to its core");
    }
    ~Pinned() { sched_setaffinity(0, sizeof Before, &Before); }
    Pinned(const Pinned&) = delete;
    Pinned& operator=(const Pinned&) = delete;

private:
    cpu_set_t Before;
};

} // namespace bench
