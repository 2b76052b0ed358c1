// Memory runs out in the middle of a call: of each exported function that talks to the service, for streams of every
// essence where that makes a difference, and of those that read and write descriptions, each allocation that the
// library makes on the calling thread fails once. std::bad_alloc passes through or the call ends with an error code,
// the service and the handles are usable afterwards, and nothing is lost but what a failed creation leaves. What the
// HTTP library allocates for itself does not fail here: it may wait for ever then.
//     system_faults_allocation           with the trace in the log on, a choice of allocations
//     system_faults_allocation --every   with the trace on, too, each of them
#include "CleanService.h"
#include "ControlCalls.h"
#include "support/LostService.h"
#include "support/PtpScripts.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <link.h>
#include <mutex>
#include <new>
#include <sys/wait.h>
#include <unistd.h>

// A context that was not made, or whose end was not read, keeps its watchdog, and a tick may be under way in the HTTP
// library when the process ends.
extern "C" [[gnu::visibility("default")]] const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:libcpprest\n";
}

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
std::atomic<size_t> failedCallocs{0}, givenCallocs{0};
std::atomic<int64_t> liveAllocations{0};
thread_local int64_t liveOfThisThread = 0; // taken by this thread, less what it has given back

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

// Whether the allocation that is asked for is the one.
bool Fails()
{
    if (!plan.armed) return false;
    plan.armed = false; // looking at the stack may allocate
    plan.done = AskedByTheLibrary() && plan.allocationsLeft-- == 0;
    plan.armed = !plan.done;
    return plan.done;
}

void* Allocate(size_t bytes, size_t alignment)
{
    if (Fails()) throw std::bad_alloc();
    void* const memory = alignment > alignof(std::max_align_t)
                             ? std::aligned_alloc(alignment, (bytes + alignment - 1) / alignment * alignment)
                             : std::malloc(bytes ? bytes : 1);
    if (!memory) throw std::bad_alloc();
    liveAllocations.fetch_add(1, std::memory_order_relaxed);
    ++liveOfThisThread;
    return memory;
}

void Free(void* memory)
{
    if (memory)
    {
        liveAllocations.fetch_sub(1, std::memory_order_relaxed);
        --liveOfThisThread;
    }
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

// What calloc has given to our libraries and free has not taken. Who calls free tells nothing: the templates of the
// HTTP library, which are compiled into ours as well, free there what they have from elsewhere.
static std::atomic<void*> linesInUse[256];

static size_t LinesInUse()
{
    return std::size(linesInUse) - size_t(std::count(std::begin(linesInUse), std::end(linesInUse), nullptr));
}

// Lines of ancillary data are allocated with calloc. A sanitizer has one of its own, which it needs before all else.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kCallocFails = false;
#else
constexpr bool kCallocFails = true;

static void Replace(void* line, void* by)
{
    for (std::atomic<void*>& place : linesInUse)
    {
        void* expected = line;
        if (place.load(std::memory_order_relaxed) == line && place.compare_exchange_strong(expected, by)) return;
    }
}

template <class Function>
static Function* Next(const char* name)
{
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

extern "C" [[gnu::visibility("default")]] void* calloc(size_t count, size_t bytes) noexcept
{
    static const auto next = Next<void*(size_t, size_t)>("calloc");
    if (Fails())
    {
        failedCallocs.fetch_add(1, std::memory_order_relaxed);
        return nullptr;
    }
    void* const memory = next(count, bytes);
    const void* const caller = __builtin_return_address(0);
    if (memory && (ours[0].Holds(caller) || ours[1].Holds(caller)))
    {
        givenCallocs.fetch_add(1, std::memory_order_relaxed);
        Replace(nullptr, memory);
    }
    return memory;
}
extern "C" [[gnu::visibility("default")]] void free(void* memory) noexcept
{
    static const auto next = Next<void(void*)>("free");
    if (memory) Replace(memory, nullptr);
    next(memory);
}
#endif

namespace test
{
namespace
{

constexpr ZEFA_ERRORCODE kGood = ZEFA_NO_ERROR;
constexpr ZEFA_ERRORCODE kBadAlloc = UINT32_MAX;
constexpr const char* kTracedVariable = "ZEFALINE_TEST_TRACED"; // set in a process whose library finds settings
bool everyOne = false;

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

    void Count(const Outcome& outcome)
    {
        if (outcome.result == kBadAlloc)
            ++thrown;
        else
            ++(outcome.result == kGood ? successes : errors);
    }

    void Print(const std::string& name) const
    {
        std::printf("%-40s %4zu allocations: %4zu thrown, %4zu errors, %4zu successes\n", name.c_str(), allocations,
                    thrown, errors, successes);
    }
};

// Fails each allocation of the call once, or one of `stride`.
Figures FailEach(World& world, const ControlCall& call, size_t stride = 1)
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
    size_t failing = 0;
    for (bool failed = true; failed && !testing::Test::HasFailure(); failing += stride)
    {
        step(call.prepare);
        std::string told;
        const auto make = [&] { return WithFailing(failing, [&] { return call.make(world, told); }); };
        const Outcome outcome = call.leavesWhatIsLost ? LeaveOutOfReach(make) : make();
        failed = outcome.failed;
        if (failed)
        {
            figures.Count(outcome);
            ++figures.allocations;
            EXPECT_TRUE(outcome.result == kBadAlloc || outcome.result <= ZEFA_ERR_COMMUNICATION);
        }
        else
        {
            EXPECT_EQ(call.expected, outcome.result);
        }
        if (outcome.result == kGood)
        {
            EXPECT_TRUE(call.readsLists || told == wholeTold) << "allocation " << failing;
        }
        uint64_t version = 0;
        EXPECT_EQ(kGood, ZEFA_GetMXSStatus(world.Context(), &version)) << "after allocation " << failing;
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

// The same of the calls that keep more with each start, or something at the service: it goes with the context. Of large
// slots a choice of allocations does, for each start takes its time.
bool TakeNoMoreInTheNextWorld(const std::string& url, const EssenceName& essence)
{
    constexpr int kRepetitions = 6;
    const size_t stride = essence.type == kEssences[0].type ? 1 : 5;
    int64_t before = liveAllocations;
    for (int repetition = 0; repetition < kRepetitions; ++repetition)
    {
        {
            World world(url, essence.type);
            for (const ControlCall& call : CallsBesideAStreamOf(essence))
                if ((call.keepsMore || call.leavesWhatIsLost) && !call.losesAnObject) FailEach(world, call, stride);
        }
        const int64_t after = liveAllocations;
        if (after <= before) return true;
        before = after;
    }
    return false;
}

TEST(Allocations, ThatFailPassThroughOrAreAnErrorAndTheNextCallWorks)
{
    CleanService service;
    for (const EssenceName& essence : kEssences)
    {
        World world(service.ServiceUrl(), essence.type);
        for (const ControlCall& call : CallsBesideAStreamOf(essence))
        {
            if (HasFailure()) break;
            SCOPED_TRACE(NameOf(call, essence));
            const Figures figures = FailEach(world, call);
            figures.Print(NameOf(call, essence));
            EXPECT_GT(figures.allocations, 0u);
            if (!call.leavesWhatIsLost && !call.keepsMore)
            {
                EXPECT_TRUE(TakesNoMoreWhenRepeated(world, call));
            }
        }
        EXPECT_TRUE(TakeNoMoreInTheNextWorld(service.ServiceUrl(), essence)) << essence.name;
    }
    EXPECT_EQ(kCallocFails, failedCallocs > 0 && givenCallocs > 0) << "for the lines of ancillary data";
    EXPECT_EQ(0u, LinesInUse());
}

// Calls with one failing allocation after another, side by side: those that end a context wait for its watchdog. Each
// call gets a context of its own from `begin` and leaves it to `end`.
template <class Begin, class Call, class End>
Figures FailEachBesideOthers(size_t stride, const Begin& begin, const Call& call, const End& end)
{
    constexpr size_t kAtOnce = 20;
    Figures figures;
    size_t failing = 0;
    for (bool failed = true; failed && !testing::Test::HasFailure();)
    {
        std::vector<std::future<Outcome>> outcomes;
        for (size_t i = 0; i < kAtOnce; ++i, failing += stride)
            outcomes.push_back(std::async(std::launch::async,
                                          [&, failing]
                                          {
                                              ZEFA_HANDLE context = begin();
                                              const Outcome outcome = LeaveOutOfReach(
                                                  [&] { return WithFailing(failing, [&] { return call(context); }); });
                                              end(context, outcome);
                                              return outcome;
                                          }));
        for (std::future<Outcome>& each : outcomes)
        {
            const Outcome outcome = each.get();
            failed = outcome.failed;
            if (!failed)
            {
                EXPECT_EQ(kGood, outcome.result);
                continue;
            }
            figures.Count(outcome);
            ++figures.allocations;
            EXPECT_TRUE(outcome.result == kBadAlloc || outcome.result <= ZEFA_ERR_COMMUNICATION);
        }
    }
    return figures;
}

// Contexts that nobody can end stay within reach, where leaks are looked for.
void Keep(ZEFA_HANDLE context)
{
    static auto& mutex = *new std::mutex;
    static auto& kept = *new std::vector<ZEFA_HANDLE>;
    const std::lock_guard lock(mutex);
    kept.push_back(context);
}

void FailEachOfAContextsLife(const std::string& url, size_t stride)
{
    const auto make = [&url]
    {
        ZEFA_HANDLE context = nullptr;
        EXPECT_EQ(kGood, ZEFA_CreateMXSContext(url.c_str(), &context));
        return context;
    };
    // A context that was authenticated is the application's, whatever came after.
    const Figures made = FailEachBesideOthers(
        stride, [] { return ZEFA_HANDLE{}; },
        [&url](ZEFA_HANDLE& context) { return ZEFA_CreateMXSContext(url.c_str(), &context); },
        [](ZEFA_HANDLE context, const Outcome& outcome)
        {
            EXPECT_TRUE(context || outcome.result != kGood);
            if (context)
            {
                EXPECT_EQ(kGood, ZEFA_DestroyMXSContext(context));
            }
        });
    made.Print("CreateMXSContext");
    EXPECT_GT(made.allocations, 0u);

    // One that was not ended can be ended again, unless the service has ended it and its answer was not read.
    const Figures ended = FailEachBesideOthers(
        stride, make, [](ZEFA_HANDLE& context) { return ZEFA_DestroyMXSContext(context); },
        [](ZEFA_HANDLE context, const Outcome& outcome)
        {
            if (outcome.result != kGood && ZEFA_DestroyMXSContext(context) != kGood) Keep(context);
        });
    ended.Print("DestroyMXSContext");
    EXPECT_GT(ended.allocations, 0u);
}

TEST(Allocations, ThatFailWhileAContextIsMadeOrEndedPassThroughOrAreAnError)
{
    CleanService service({"--context-ttl", "5"});
    FailEachOfAContextsLife(service.ServiceUrl(), 1);
    const World next(service.ServiceUrl());
}

constexpr const char* kDescription = "v=0\r\n"
                                     "o=- 1 2 IN IP4 10.0.0.5\r\n"
                                     "s=Camera of the left wing\r\n"
                                     "i=Rehearsal of the first act\r\n"
                                     "t=0 0\r\n"
                                     "a=group:DUP primary secondary\r\n"
                                     "m=video 20000 RTP/AVP 96\r\n"
                                     "c=IN IP4 239.1.2.3/64\r\n"
                                     "a=source-filter: incl IN IP4 239.1.2.3 10.0.0.5\r\n"
                                     "a=rtpmap:96 raw/90000\r\n"
                                     "a=fmtp:96 sampling=YCbCr-4:2:2; width=1920; height=1080; exactframerate=50; "
                                     "depth=10; TCS=SDR; colorimetry=BT709; PM=2110GPM; SSN=ST2110-20:2017; \r\n"
                                     "a=mediaclk:direct=0\r\n"
                                     "a=ts-refclk:ptp=IEEE1588-2008:39-A7-94-FF-FE-07-CB-D0:37\r\n"
                                     "a=mid:primary\r\n"
                                     "a=an attribute that nobody knows\r\n"
                                     "m=video 20002 RTP/AVP 96\r\n"
                                     "c=IN IP4 239.1.2.4/64\r\n"
                                     "a=rtpmap:96 raw/90000\r\n"
                                     "a=fmtp:96 sampling=YCbCr-4:2:2; width=1920; height=1080; exactframerate=50; "
                                     "depth=10; TCS=SDR; colorimetry=BT709; PM=2110GPM; SSN=ST2110-20:2017; \r\n"
                                     "a=mediaclk:direct=0\r\n"
                                     "a=mid:secondary\r\n";

struct Description
{
    ZEFA_STREAM_NETWORK_CONFIG network{};
    ZEFA_ESSENCE_CONFIG essence{};
    ZEFA_SDP_INFO info{};
};

ZEFA_ERRORCODE Read(Description& description)
{
    return ZEFA_ReadSDP(kDescription, nullptr, &description.network, &description.essence, &description.info);
}

// Those that make something of what they are given, without a service.
const struct LocalCall
{
    const char* name;
    ZEFA_ERRORCODE expected;
    ZEFA_ERRORCODE (*make)(Description& description, std::string& told);
} kLocalCalls[] = {
    {"ReadSDP", kGood,
     [](Description& description, std::string& told)
     {
         const ZEFA_ERRORCODE result = Read(description);
         told.assign(reinterpret_cast<const char*>(&description.essence), sizeof description.essence);
         return result;
     }},
    {"WriteSDP", kGood,
     [](Description& description, std::string& told)
     {
         char text[4096];
         uint32_t size = sizeof text;
         const ZEFA_ERRORCODE result =
             ZEFA_WriteSDP(&description.network, &description.essence, &description.info, text, &size);
         if (result == kGood) told = std::strstr(text, "\r\ns="); // behind the numbers that follow the clock
         return result;
     }},
    {"CreatePTPDSFromProfile", ZEFA_ERR_BAD_ARGUMENT,
     [](Description&, std::string&)
     {
         ZEFA_PTP_DEFAULT_DS defaults{};
         ZEFA_PTP_PORT_DS port{};
         return ZEFA_CreatePTPDSFromProfile(1234, &defaults, &port); // the text of what is wrong needs memory
     }},
};

TEST(Allocations, ThatFailInACallWithoutAServiceLoseNothing)
{
    const auto described = std::make_unique<Description>();
    ASSERT_EQ(kGood, Read(*described));
    for (const LocalCall& call : kLocalCalls)
    {
        SCOPED_TRACE(call.name);
        std::string wholeTold;
        const auto given = std::make_unique<Description>(*described);
        EXPECT_EQ(call.expected, call.make(*given, wholeTold)); // the first call makes what stays
        Figures figures;
        for (bool failed = true; failed && !HasFailure(); figures.allocations += failed)
        {
            std::string told;
            told.reserve(wholeTold.size());
            *given = *described;
            const int64_t before = liveOfThisThread;
            const Outcome outcome = WithFailing(figures.allocations, [&] { return call.make(*given, told); });
            EXPECT_EQ(before, liveOfThisThread) << "lost after allocation " << figures.allocations;
            failed = outcome.failed;
            if (failed) figures.Count(outcome);
            EXPECT_TRUE(outcome.result == kBadAlloc || (failed && outcome.result <= ZEFA_ERR_COMMUNICATION) ||
                        outcome.result == call.expected);
            if (outcome.result == call.expected)
            {
                EXPECT_EQ(wholeTold, told) << "allocation " << figures.allocations;
            }
        }
        figures.Print(call.name);
        EXPECT_GT(figures.allocations, 0u);
    }
}

// The library reads its settings when it is loaded: this test again, in a process that finds some.
int RunTraced(const char* test, const std::filesystem::path& folder)
{
    const std::filesystem::path settings = folder / "quillmont";
    std::filesystem::create_directories(settings);
    std::ofstream(settings / "zefaline.conf") << "DebugFilter = Error Warning Info Debug\nDebugOutput = StdOutputLog\n";
    const std::string filter = std::string("--gtest_filter=") + test, trace = folder / "trace";
    const pid_t child = ::fork();
    if (child == 0)
    {
        ::dup2(::open(trace.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
        ::setenv("XDG_CONFIG_HOME", folder.c_str(), 1);
        ::setenv(kTracedVariable, "1", 1);
        ::execl("/proc/self/exe", "system_faults_allocation", filter.c_str(), everyOne ? "--every" : nullptr, nullptr);
        ::_exit(127);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

// Destructors are traced, too: what is thrown there ends the process.
TEST(Allocations, ThatFailWhileTheTraceIsOnEndNobody)
{
    if (!::getenv(kTracedVariable))
    {
        const std::filesystem::path folder = testing::TempDir() + "traced-" + std::to_string(::getpid());
        std::filesystem::create_directories(folder);
        EXPECT_EQ(0, RunTraced("Allocations.ThatFailWhileTheTraceIsOnEndNobody", folder));
        std::ifstream trace(folder / "trace");
        const std::string text{std::istreambuf_iterator<char>(trace), {}};
        EXPECT_NE(std::string::npos, text.find("CRestClient::~CRestClient --> Exiting "));
        std::filesystem::remove_all(folder);
        return;
    }
    CleanService service({"--context-ttl", "5"});
    FailEachOfAContextsLife(service.ServiceUrl(), everyOne ? 1 : 7);
    for (const EssenceName& essence : kEssences)
    {
        World world(service.ServiceUrl(), essence.type);
        for (const ControlCall& call : CallsBesideAStreamOf(essence))
        {
            if (HasFailure()) break;
            SCOPED_TRACE(NameOf(call, essence));
            FailEach(world, call, everyOne ? 1 : 61).Print(NameOf(call, essence));
        }
    }
}

} // namespace
} // namespace test

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    test::everyOne = argc > 1 && std::string(argv[1]) == "--every";
    FindCode();
    const test::PtpScripts scripts;
    return RUN_ALL_TESTS();
}
