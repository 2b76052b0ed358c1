// Memory runs out in the middle of a call: of each exported function that talks to the service, each allocation that the
// library makes on the calling thread fails once. std::bad_alloc passes through or the call ends with an error code, the
// service and the handles are usable afterwards, and nothing is lost. What the HTTP library allocates for itself does not
// fail here: it may wait for ever then.
#include "ControlCalls.h"
#include "support/LostService.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <execinfo.h>
#include <link.h>
#include <new>

namespace
{

// The code of a library in this process.
struct CodeRange
{
    const char* library;
    uintptr_t begin = 0, end = 0;

    bool Holds(const void* address) const
    {
        const auto at = reinterpret_cast<uintptr_t>(address);
        return at >= begin && at < end;
    }
};

CodeRange ours[] = {{"libzefaline1.so"}, {"libflowrail1.so"}};
CodeRange standardLibrary{"libstdc++.so"}, thisProgram{""};

void FindCode()
{
    const auto look = [](dl_phdr_info* info, size_t, void*)
    {
        for (CodeRange* range : {&ours[0], &ours[1], &standardLibrary, &thisProgram})
        {
            const bool unnamed = *range->library == 0 && *info->dlpi_name == 0;
            if (!unnamed && (*range->library == 0 || !std::strstr(info->dlpi_name, range->library))) continue;
            for (int i = 0; i < info->dlpi_phnum; ++i)
            {
                const auto& segment = info->dlpi_phdr[i];
                if (segment.p_type != PT_LOAD || !(segment.p_flags & PF_X)) continue;
                range->begin = info->dlpi_addr + segment.p_vaddr;
                range->end = range->begin + segment.p_memsz;
            }
        }
        return 0;
    };
    ::dl_iterate_phdr(look, nullptr);
    void* frames[1]; // the first call loads what it needs
    ::backtrace(frames, 1);
}

struct Plan
{
    bool armed = false, done = false;
    size_t allocationsLeft = 0; // before the one that fails
};
thread_local Plan plan;
std::atomic<int64_t> liveAllocations{0};

// Whether the library asks, itself or through the standard library. What the HTTP library needs for itself is its own.
bool AskedByTheLibrary()
{
    void* frames[16];
    const int count = ::backtrace(frames, 16);
    int caller = 0;
    while (caller < count && !thisProgram.Holds(frames[caller]))
        ++caller; // the call that looks at the stack, where a sanitizer has one of its own
    while (caller < count && (thisProgram.Holds(frames[caller]) || standardLibrary.Holds(frames[caller])))
        ++caller;
    return caller < count && (ours[0].Holds(frames[caller]) || ours[1].Holds(frames[caller]));
}

void* Allocate(size_t bytes, size_t alignment)
{
    if (plan.armed)
    {
        plan.armed = false; // looking at the stack may allocate
        const bool counts = AskedByTheLibrary();
        if (counts && plan.allocationsLeft-- == 0)
        {
            plan.done = true;
            throw std::bad_alloc();
        }
        plan.armed = true;
    }
    void* const memory = alignment > alignof(std::max_align_t)
                             ? std::aligned_alloc(alignment, (bytes + alignment - 1) / alignment * alignment)
                             : std::malloc(bytes ? bytes : 1);
    if (!memory) throw std::bad_alloc();
    liveAllocations.fetch_add(1, std::memory_order_relaxed);
    return memory;
}

void Free(void* memory)
{
    if (memory) liveAllocations.fetch_sub(1, std::memory_order_relaxed);
    std::free(memory);
}

} // namespace

// In place of those of the standard library, for every library of this process.
void* operator new(size_t bytes)
{
    return Allocate(bytes, 0);
}
void* operator new[](size_t bytes)
{
    return Allocate(bytes, 0);
}
void* operator new(size_t bytes, std::align_val_t alignment)
{
    return Allocate(bytes, size_t(alignment));
}
void* operator new[](size_t bytes, std::align_val_t alignment)
{
    return Allocate(bytes, size_t(alignment));
}
void* operator new(size_t bytes, const std::nothrow_t&) noexcept
try
{
    return Allocate(bytes, 0);
}
catch (const std::bad_alloc&)
{
    return nullptr;
}
void* operator new[](size_t bytes, const std::nothrow_t& nothrow) noexcept
{
    return operator new(bytes, nothrow);
}
void operator delete(void* memory) noexcept
{
    Free(memory);
}
void operator delete[](void* memory) noexcept
{
    Free(memory);
}
void operator delete(void* memory, size_t) noexcept
{
    Free(memory);
}
void operator delete[](void* memory, size_t) noexcept
{
    Free(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept
{
    Free(memory);
}
void operator delete[](void* memory, std::align_val_t) noexcept
{
    Free(memory);
}
void operator delete(void* memory, size_t, std::align_val_t) noexcept
{
    Free(memory);
}
void operator delete[](void* memory, size_t, std::align_val_t) noexcept
{
    Free(memory);
}

namespace test
{
namespace
{

constexpr ZEFA_ERRORCODE kGood = ZEFA_NO_ERROR;
constexpr ZEFA_ERRORCODE kBadAlloc = UINT32_MAX;

struct Outcome
{
    ZEFA_ERRORCODE result;
    bool failed; // an allocation
};

// With allocation number `failing`, from 0, failing.
template <class Call>
Outcome WithFailing(size_t failing, Call&& call)
{
    plan = {true, false, failing};
    ZEFA_ERRORCODE result = kBadAlloc;
    try
    {
        result = call();
    }
    catch (const std::bad_alloc&)
    {
    }
    plan.armed = false;
    return {result, plan.done};
}

struct Figures
{
    size_t allocations = 0, thrown = 0, errors = 0, successes = 0;
};

// Fails each allocation of the call once.
Figures FailEach(World& world, const ControlCall& call)
{
    const auto step = [&](ControlCall::Step make)
    {
        if (make) make(world);
    };
    Figures figures;
    step(call.enter);
    step(call.prepare);
    std::string wholeTold;
    EXPECT_EQ(call.expected, call.make(world, wholeTold));
    step(call.undo);
    for (bool failed = true; failed && !testing::Test::HasFailure();)
    {
        step(call.prepare);
        std::string told;
        const auto make = [&] { return WithFailing(figures.allocations, [&] { return call.make(world, told); }); };
        const Outcome outcome = call.leavesWhatIsLost ? LeaveOutOfReach(make) : make();
        failed = outcome.failed;
        figures.allocations += failed;
        if (!failed)
        {
            EXPECT_EQ(call.expected, outcome.result);
        }
        else if (outcome.result == kBadAlloc)
            ++figures.thrown;
        else
        {
            EXPECT_LE(outcome.result, ZEFA_ERR_COMMUNICATION);
            ++(outcome.result == kGood ? figures.successes : figures.errors);
        }
        if (outcome.result == kGood)
        {
            EXPECT_TRUE(call.readsLists || told == wholeTold) << "allocation " << figures.allocations;
        }
        uint64_t version = 0;
        EXPECT_EQ(kGood, ZEFA_GetMXSStatus(world.Context(), &version)) << "after allocation " << figures.allocations;
        step(call.undo);
    }
    step(call.leave);
    return figures;
}

// What is lost makes every repetition take more than the one before. Other threads and the HTTP library's connections
// come and go beside them, so one that takes no more is enough.
bool TakesNoMoreWhenRepeated(World& world, const ControlCall& call)
{
    constexpr int kRepetitions = 6;
    int64_t before = liveAllocations;
    for (int repetition = 0; repetition < kRepetitions; ++repetition)
    {
        FailEach(world, call);
        const int64_t after = liveAllocations;
        if (after <= before) return true;
        before = after;
    }
    return false;
}

TEST(Allocations, ThatFailPassThroughOrAreAnErrorAndTheNextCallWorks)
{
    MxsProcess service;
    World world(service.ServiceUrl());
    for (const ControlCall& call : ControlCalls())
    {
        if (HasFailure()) break;
        SCOPED_TRACE(call.name);
        const Figures figures = FailEach(world, call);
        std::printf("%-32s %4zu allocations: %4zu thrown, %4zu errors, %4zu successes\n", call.name,
                    figures.allocations, figures.thrown, figures.errors, figures.successes);
        EXPECT_GT(figures.allocations, 0u);
        // What is half made stays: nobody can reach it.
        if (!call.leavesWhatIsLost && !call.keepsMore)
        {
            EXPECT_TRUE(TakesNoMoreWhenRepeated(world, call));
        }
    }
}

} // namespace
} // namespace test

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    FindCode();
    return RUN_ALL_TESTS();
}
