// The system call itself, and words in memory that two processes share: what the machine needs for a hand-over.
#ifndef BENCH_RAIL_FUTEX_H
#define BENCH_RAIL_FUTEX_H

#include "Partner.h"

#include <atomic>
#include <cstdint>
#include <ctime>
#include <linux/futex.h>
#include <new>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace railbench
{
inline void Futex(std::atomic<uint32_t>& word, int operation, uint32_t value, const timespec* limit = nullptr)
{
    syscall(SYS_futex, reinterpret_cast<uint32_t*>(&word), operation, value, limit, nullptr, 0);
}

// To be made before the other process is forked.
template <class TWords>
class SharedWords
{
public:
    SharedWords()
    {
        void* const memory =
            mmap(nullptr, sizeof(TWords), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS | MAP_POPULATE, -1, 0);
        if (memory == MAP_FAILED) Fail("mmap");
        Words = new (memory) TWords{};
    }
    ~SharedWords() { munmap(Words, sizeof(TWords)); }
    SharedWords(const SharedWords&) = delete;
    SharedWords& operator=(const SharedWords&) = delete;

    TWords& operator*() const { return *Words; }
    TWords* operator->() const { return Words; }

private:
    TWords* Words = nullptr;
};
} // namespace railbench

#endif
