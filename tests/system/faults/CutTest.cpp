// The service dies at each point of each exported call: a proxy cuts the connection behind every byte of the request
// and of the answer. The call has to answer, what it tells has to be whole, and the next one has to work.
//     system_faults_cut           a choice of places: both ends, all ends of lines, some between
//     system_faults_cut --every   every byte, both ways to end (by turns where a context is made or ended); five deaths
//                                 of the process in each call; and a service that never answers, or too late
#include "CleanService.h"
#include "ControlCalls.h"
#include "CuttingProxy.h"
#include "Leftovers.h"
#include "support/LostService.h"

#include <chrono>
#include <cstdio>
#include <fstream>
#include <future>
#include <iterator>
#include <regex>
#include <set>

using namespace test;

// A context that was not created, or whose end was not answered, keeps its watchdog, and a tick may be under way in the
// HTTP library when the process ends.
extern "C" [[gnu::visibility("default")]] const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:libcpprest\n";
}

namespace
{

constexpr ZEFA_ERRORCODE kGood = ZEFA_NO_ERROR;
bool everyByte = false;

struct Cut
{
    Direction direction;
    size_t bytes;
    Afterwards afterwards;
};

std::ostream& operator<<(std::ostream& to, const Cut& cut)
{
    return to << cut.bytes << " bytes of the " << NameOf(cut.direction)
              << (cut.afterwards == Afterwards::NobodyAnswers ? ", then nobody" : "");
}

enum class Ways
{
    Both, // each cut comes in both ways, when there is every byte
    InTurn
};

// A choice of places, or all of them.
void AddCuts(Direction direction, const std::string& text, Ways ways, std::vector<Cut>& cuts)
{
    constexpr size_t kEnds = 3, kStride = 47;
    const bool both = everyByte && ways == Ways::Both;
    for (size_t at = 0; at <= text.size(); ++at)
    {
        const bool endOfLine = at >= 2 && text.compare(at - 2, 2, "\r\n") == 0;
        if (!everyByte && !endOfLine && at >= kEnds && at + kEnds <= text.size() && at % kStride != 0) continue;
        const bool alone = cuts.size() % 2 == 0;
        if (both || alone) cuts.push_back({direction, at, Afterwards::OnlyThisConnectionEnds});
        if (both || !alone) cuts.push_back({direction, at, Afterwards::NobodyAnswers});
    }
}

std::vector<Cut> CutsOf(const std::string& request, const std::string& answer, Ways ways)
{
    std::vector<Cut> cuts;
    AddCuts(Direction::Request, request, ways, cuts);
    AddCuts(Direction::Answer, answer, ways, cuts);
    return cuts;
}

// Where the head of the last answer ends: before that there is no result.
size_t EndOfTheLastHead(const std::string& answers)
{
    return answers.rfind("\r\n\r\n") + 4;
}

// Of the places of a call. At one that lies behind what the call sends or gets this time, nothing is harmed.
struct Figures
{
    size_t places = 0, failures = 0;
    size_t harmed[2] = {}; // places in the request and in the answer

    void Count(Direction direction, bool wasHarmed, ZEFA_ERRORCODE result)
    {
        ++places;
        harmed[size_t(direction)] += wasHarmed;
        failures += result != kGood;
    }

    void Print(const std::string& name, const std::string& request, const std::string& answer) const
    {
        std::printf("%-32s request %5zu bytes, answer %5zu bytes: %5zu places, %5zu of them harmed, %5zu errors\n",
                    name.c_str(), request.size(), answer.size(), places, harmed[0] + harmed[1], failures);
    }
};

void ExpectCutsOfBoth(const Figures& figures)
{
    for (const Direction direction : {Direction::Request, Direction::Answer})
        EXPECT_LT(0u, figures.harmed[size_t(direction)]) << "no cut in the " << NameOf(direction);
}

void ExpectHarmedAnswers(const Figures& figures)
{
    EXPECT_LT(0u, figures.harmed[size_t(Direction::Answer)]) << "no byte was turned";
}

class Cuts : public testing::Test
{
protected:
    Cuts()
    {
        { // the HTTP library keeps a thread and some descriptors from its first exchange on
            const World first(Proxy.Url());
        }
        ExpectNoConnections();
        Before = HoldingsOf(::getpid());
        ServiceBefore = HoldingsOf(Service.ProcessId());
    }

    void ExpectNoConnections()
    {
        EXPECT_TRUE(Await([&] { return Proxy.OpenConnections() == 0; })) << Proxy.OpenConnections();
    }

    // A context that nobody can reach any more has its watchdog still, and its connections with it.
    void ExpectNothingLeft(size_t lostContexts = 0)
    {
        const size_t threads = Before.threads + lostContexts;
        EXPECT_TRUE(Await([&] { return HoldingsOf(::getpid()).threads <= threads; }))
            << HoldingsOf(::getpid()) << ", before " << Before << ", lost " << lostContexts;
        EXPECT_TRUE(Await([&] { return RailsOf(Service.ProcessId()).empty(); }));
        if (lostContexts > 0) return;
        ExpectNoConnections();
        EXPECT_TRUE(Await([&] { return HoldingsOf(::getpid()).NoMoreThan(Before); }))
            << HoldingsOf(::getpid()) << ", before " << Before;
        EXPECT_TRUE(Await([&] { return HoldingsOf(Service.ProcessId()).NoMoreThan(ServiceBefore); }))
            << "the service: " << HoldingsOf(Service.ProcessId()) << ", before " << ServiceBefore;
    }

    static constexpr int kTimeToLive = 5; // seconds
    CleanService Service{{"--context-ttl", std::to_string(kTimeToLive)}};
    CuttingProxy Proxy{uint16_t(std::stoul(Service.Port()))};
    Holdings Before, ServiceBefore;
};

void Step(ControlCall::Step step, World& world)
{
    if (step) step(world);
}

ZEFA_ERRORCODE Make(const ControlCall& call, World& world, std::string& told)
{
    const auto make = [&] { return call.make(world, told); };
    return call.leavesWhatIsLost ? LeaveOutOfReach(make) : make();
}

struct Exchange
{
    std::string request, answer, told;
};

// What goes to and fro when nothing is in the call's way, but for connections that have ended since they were used.
Exchange WholeExchangeOf(CuttingProxy& proxy, World& world, const ControlCall& call)
{
    Exchange whole;
    ZEFA_ERRORCODE result = ZEFA_ERR_COMMUNICATION;
    for (int attempt = 0; attempt < kAttempts && result == ZEFA_ERR_COMMUNICATION; ++attempt)
    {
        Step(call.prepare, world);
        whole.told.clear();
        proxy.Watch();
        result = Make(call, world, whole.told);
        whole.request = proxy.PassedIn(Direction::Request);
        whole.answer = proxy.PassedIn(Direction::Answer);
        Step(call.undo, world);
    }
    EXPECT_EQ(call.expected, result);
    EXPECT_FALSE(whole.request.empty() || whole.answer.empty());
    return whole;
}

void ExpectAWorkingCall(World& world)
{
    uint64_t version = 0;
    EXPECT_EQ(kGood, ZEFA_GetMXSStatus(world.Context(), &version)) << "the next call";
}

// What connections that have ended may still hold of answers goes to calls that only ask, until the service answers.
void UseUpOldAnswers(CuttingProxy& proxy, World& world)
{
    constexpr int kMost = 50;
    proxy.Watch();
    uint64_t version = 0;
    for (int asked = 0; asked < kMost && proxy.PassedIn(Direction::Answer).empty(); ++asked)
        ZEFA_GetMXSStatus(world.Context(), &version);
}

// The world is made anew when the service holds too much that nobody knows of.
void RenewAfterLosses(size_t losses, CuttingProxy& proxy, std::unique_ptr<World>& world)
{
    constexpr size_t kMostLosses = 60; // a service has room for 128 conductors
    if (losses % kMostLosses != 0) return;
    world.reset();
    world = std::make_unique<World>(proxy.Url());
}

// Cuts the call at its places.
void PlayCuts(CuttingProxy& proxy, std::unique_ptr<World>& world, const ControlCall& call)
{
    SCOPED_TRACE(call.name);
    Step(call.enter, *world);
    const auto [request, answer, wholeTold] = WholeExchangeOf(proxy, *world, call);

    Figures figures;
    size_t losses = 0;
    for (const Cut& cut : CutsOf(request, answer, Ways::Both))
    {
        if (testing::Test::HasFailure()) break;
        Step(call.prepare, *world);
        std::string told;
        proxy.CutAfter(cut.direction, cut.bytes, cut.afterwards);
        const ZEFA_ERRORCODE result = Make(call, *world, told);
        const bool wasCut = proxy.Heal();
        figures.Count(cut.direction, wasCut, result);

        EXPECT_LE(result, ZEFA_ERR_COMMUNICATION) << cut;
        if (result == kGood)
        {
            EXPECT_TRUE(told == wholeTold) << "half is told as the whole: " << cut;
        }
        const bool noAnswerLeft = wasCut && cut.afterwards == Afterwards::NobodyAnswers &&
                                  (cut.direction == Direction::Request || cut.bytes < EndOfTheLastHead(answer));
        if (noAnswerLeft && !call.lastMayFail)
        {
            EXPECT_NE(kGood, result) << cut;
        }
        SCOPED_TRACE(cut);
        ExpectAWorkingCall(*world);
        Step(call.undo, *world);
        if (call.leavesWhatIsLost && result != kGood) RenewAfterLosses(++losses, proxy, world);
    }
    Step(call.leave, *world);
    figures.Print(call.name, request, answer);
    ExpectCutsOfBoth(figures);
}

// Those whose work is done in this process, and the two that have tests of their own.
const std::set<std::string> kOthers{"CreateMXSContext",
                                    "DestroyMXSContext",
                                    "CreatePTPDSFromProfile",
                                    "ErrorToString",
                                    "GetAncSdiVideoStandardInfo",
                                    "GetLibrariesStatus",
                                    "GetSlotBuffer",
                                    "GetSlotLostDataInfo",
                                    "GetSlotTimestamps",
                                    "LockSlot",
                                    "ReadSDP",
                                    "ST2110_20_GetVideoStandardInfo",
                                    "SetSlotTimestamps",
                                    "SlotAncAllocatePacket",
                                    "SlotAncGetNbPackets",
                                    "SlotAncGetPacket",
                                    "SlotAncInsertPacket",
                                    "SlotAncRemovePacket",
                                    "UnlockSlot",
                                    "WriteSDP"};

TEST(Calls, AreAllThatAskTheService)
{
    std::set<std::string> declared, known = kOthers;
    const std::regex function(R"(ZEFA_API ZEFA_ERRORCODE ZEFA_(\w+)\()");
    for (const auto& header : std::filesystem::directory_iterator(HEADERS))
    {
        std::ifstream file(header.path());
        const std::string text{std::istreambuf_iterator<char>(file), {}};
        for (std::sregex_iterator match(text.begin(), text.end(), function), end; match != end; ++match)
            declared.insert((*match)[1]);
    }
    for (const ControlCall& call : ControlCalls())
        known.insert(std::string(call.name).substr(0, std::string(call.name).find(' ')));

    EXPECT_EQ(declared, known);
    EXPECT_EQ(55u, declared.size());
}

// Ends contexts beside each other: each waits up to a second for its watchdog. Returns how many the service refused;
// they are kept, for nobody can end them.
size_t DestroyAll(std::vector<ZEFA_HANDLE>& contexts)
{
    static auto& kept = *new std::vector<ZEFA_HANDLE>; // beyond the end of the process, where leaks are looked for
    const auto destroy = [](ZEFA_HANDLE context)
    {
        ZEFA_ERRORCODE result = ZEFA_DestroyMXSContext(context);
        for (int attempt = 1; attempt < kAttempts && result != kGood; ++attempt)
            result = ZEFA_DestroyMXSContext(context);
        return result;
    };
    std::vector<std::future<ZEFA_ERRORCODE>> ends;
    for (const ZEFA_HANDLE context : contexts)
        ends.push_back(std::async(std::launch::async, destroy, context));
    const size_t keptBefore = kept.size();
    for (size_t i = 0; i < ends.size(); ++i)
        if (ends[i].get() != kGood) kept.push_back(contexts[i]);
    contexts.clear();
    return kept.size() - keptBefore;
}

constexpr size_t kContextsAtOnce = 40, kLostAtOnce = 100; // a service has room for 256

TEST_F(Cuts, AtEachPointOfEachCallAreAnErrorAndTheNextCallWorks)
{
    auto world = std::make_unique<World>(Proxy.Url());
    for (const ControlCall& call : ControlCalls())
        if (!HasFailure()) PlayCuts(Proxy, world, call);
    world.reset();
    ExpectNothingLeft();
}

TEST_F(Cuts, AtEachPointOfMakingAContextLeaveAWatchdogAtMost)
{
    std::vector<ZEFA_HANDLE> contexts(1);
    Proxy.Watch();
    ASSERT_EQ(kGood, ZEFA_CreateMXSContext(Proxy.Url().c_str(), &contexts[0]));
    const std::string request = Proxy.PassedIn(Direction::Request), answer = Proxy.PassedIn(Direction::Answer);
    Figures figures;
    size_t lost = 0;
    for (const Cut& cut : CutsOf(request, answer, Ways::InTurn))
    {
        ZEFA_HANDLE context = nullptr;
        Proxy.CutAfter(cut.direction, cut.bytes, cut.afterwards);
        const ZEFA_ERRORCODE result =
            LeaveOutOfReach([&] { return ZEFA_CreateMXSContext(Proxy.Url().c_str(), &context); });
        figures.Count(cut.direction, Proxy.Heal(), result);
        EXPECT_LE(result, ZEFA_ERR_COMMUNICATION) << cut;
        if (result == kGood)
        {
            EXPECT_NE(nullptr, context) << cut;
        }
        // Authenticated and nothing more: the handle is there, and good.
        if (context)
            contexts.push_back(context);
        else if (++lost % kLostAtOnce == 0) // until the service forgets them
            std::this_thread::sleep_for(std::chrono::seconds(kTimeToLive + 1));
        if (contexts.size() < kContextsAtOnce) continue;
        EXPECT_EQ(0u, DestroyAll(contexts));
    }
    EXPECT_EQ(0u, DestroyAll(contexts));
    figures.Print("CreateMXSContext", request, answer);
    ExpectCutsOfBoth(figures);
    {
        const World next(Proxy.Url());
    }
    ExpectNothingLeft(lost);
}

TEST_F(Cuts, AtEachPointOfEndingAContextLeaveItUsableOrAWatchdogAtMost)
{
    ZEFA_HANDLE context = nullptr;
    ASSERT_EQ(kGood, ZEFA_CreateMXSContext(Proxy.Url().c_str(), &context));
    Proxy.Watch();
    ASSERT_EQ(kGood, ZEFA_DestroyMXSContext(context));
    const std::string request = Proxy.PassedIn(Direction::Request), answer = Proxy.PassedIn(Direction::Answer);
    Figures figures;
    std::vector<ZEFA_HANDLE> known, doubtful; // whose end the service has not heard of, and may have
    size_t lost = 0, index = 0;
    for (const Cut& cut : CutsOf(request, answer, Ways::InTurn))
    {
        if (!everyByte && index++ % 3 != 0) continue; // each that succeeds waits up to a second for its watchdog
        ASSERT_EQ(kGood, ZEFA_CreateMXSContext(Proxy.Url().c_str(), &context));
        Proxy.CutAfter(cut.direction, cut.bytes, cut.afterwards);
        const ZEFA_ERRORCODE result = ZEFA_DestroyMXSContext(context);
        figures.Count(cut.direction, Proxy.Heal(), result);
        EXPECT_LE(result, ZEFA_ERR_COMMUNICATION) << cut;
        const bool unheard = cut.direction == Direction::Request && cut.bytes < request.size();
        if (result != kGood) (unheard ? known : doubtful).push_back(context);
        if (known.size() + doubtful.size() < kContextsAtOnce) continue;
        EXPECT_EQ(0u, DestroyAll(known));
        lost += DestroyAll(doubtful);
    }
    EXPECT_EQ(0u, DestroyAll(known));
    lost += DestroyAll(doubtful);
    figures.Print("DestroyMXSContext", request, answer);
    ExpectCutsOfBoth(figures);
    {
        const World next(Proxy.Url());
    }
    ExpectNothingLeft(lost);
}

TEST_F(Cuts, ADamagedByteOfTheAnswerIsAnErrorOrAnotherValueAndTheNextCallWorks)
{
    auto world = std::make_unique<World>(Proxy.Url());
    for (const ControlCall& call : ControlCalls())
    {
        if (std::string_view(call.name) == "CreateConductor") continue; // one of another number could not be unmade
        SCOPED_TRACE(call.name);
        Step(call.enter, *world);
        const auto [request, answer, wholeTold] = WholeExchangeOf(Proxy, *world, call);
        Figures figures;
        size_t losses = 0;
        for (size_t place = 0; place < answer.size() && !HasFailure(); place += everyByte ? 1 : 29)
        {
            Step(call.prepare, *world);
            std::string told;
            Proxy.Spoil(place);
            const ZEFA_ERRORCODE result = Make(call, *world, told);
            // With a wrong length, the rest of an answer may still lie in the old one.
            figures.Count(Direction::Answer, Proxy.HealOnNewConnections(), result);
            SCOPED_TRACE(place);
            EXPECT_LE(result, ZEFA_ERR_COMMUNICATION);
            ExpectAWorkingCall(*world);
            Step(call.undo, *world);
            if (call.leavesWhatIsLost) RenewAfterLosses(++losses, Proxy, world);
        }
        Step(call.leave, *world);
        figures.Print(call.name, request, answer);
        ExpectHarmedAnswers(figures);
    }
}

TEST_F(Cuts, AnswersThatComeTwiceOrAreGarbageEndNoCallForEver)
{
    World world(Proxy.Url());
    for (const ControlCall& call : ControlCalls())
    {
        SCOPED_TRACE(call.name);
        Step(call.enter, world);
        for (const Harm harm : {Harm::Twice, Harm::Garbage})
        {
            Step(call.prepare, world);
            Proxy.Hurt(harm);
            for (int times = 0; times < (call.ChangesSomething() ? 1 : 3); ++times) // a copy may answer the next one
            {
                std::string told;
                const ZEFA_ERRORCODE result = Make(call, world, told);
                EXPECT_LE(result, ZEFA_ERR_COMMUNICATION);
                EXPECT_TRUE(harm == Harm::Twice || result != kGood);
            }
            uint64_t version = 0;
            EXPECT_LE(ZEFA_GetMXSStatus(world.Context(), &version), ZEFA_ERR_COMMUNICATION);
            EXPECT_TRUE(Proxy.HealOnNewConnections()); // one of the answers at least came so
            UseUpOldAnswers(Proxy, world);
            ExpectAWorkingCall(world);
            Step(call.undo, world);
            WholeExchangeOf(Proxy, world, call);
        }
        Step(call.leave, world);
    }
}

TEST_F(Cuts, HarmedAnswersWhileAContextIsMadeOrEndedLeaveAWatchdogAtMost)
{
    const std::string url = Proxy.Url();
    std::vector<ZEFA_HANDLE> contexts(1);
    Proxy.Watch();
    ASSERT_EQ(kGood, ZEFA_CreateMXSContext(url.c_str(), &contexts[0]));
    const std::string request = Proxy.PassedIn(Direction::Request), answer = Proxy.PassedIn(Direction::Answer);
    struct Outcome
    {
        bool wasHarmed;
        ZEFA_ERRORCODE result;
    };
    size_t lost = 0;
    const auto makeAndHeal = [&]() -> Outcome
    {
        ZEFA_HANDLE context = nullptr;
        const ZEFA_ERRORCODE result = LeaveOutOfReach([&] { return ZEFA_CreateMXSContext(url.c_str(), &context); });
        const bool wasHarmed = Proxy.HealOnNewConnections();
        EXPECT_LE(result, ZEFA_ERR_COMMUNICATION);
        EXPECT_TRUE(context || result != kGood);
        if (context)
            contexts.push_back(context);
        else if (++lost % kLostAtOnce == 0) // until the service forgets them
            std::this_thread::sleep_for(std::chrono::seconds(kTimeToLive + 1));
        // Of another token or number the service does not know them.
        if (contexts.size() >= kContextsAtOnce) DestroyAll(contexts);
        return {wasHarmed, result};
    };
    Figures figures;
    for (size_t place = 0; place < answer.size() && !HasFailure(); place += everyByte ? 1 : 29)
    {
        Proxy.Spoil(place);
        const auto [wasHarmed, result] = makeAndHeal();
        figures.Count(Direction::Answer, wasHarmed, result);
    }
    figures.Print("CreateMXSContext", request, answer);
    ExpectHarmedAnswers(figures);
    for (const Harm harm : {Harm::Twice, Harm::Garbage})
    {
        Proxy.Hurt(harm);
        const auto [wasHarmed, result] = makeAndHeal();
        EXPECT_TRUE(wasHarmed);
        EXPECT_TRUE(result != kGood || harm == Harm::Twice);
        ZEFA_HANDLE context = nullptr;
        ASSERT_EQ(kGood, ZEFA_CreateMXSContext(url.c_str(), &context));
        Proxy.Hurt(harm);
        const ZEFA_ERRORCODE ended = ZEFA_DestroyMXSContext(context);
        EXPECT_TRUE(Proxy.HealOnNewConnections());
        EXPECT_EQ(harm == Harm::Twice, ended == kGood);
        if (ended != kGood) contexts.push_back(context);
    }
    DestroyAll(contexts);
    const World next(url);
}

TEST_F(Cuts, AnswersThatComeLateAreWaitedFor)
{
    World world(Proxy.Url());
    for (const std::span<const ControlCall> calls : {ControlCalls(), ContextCalls()})
        for (const ControlCall& call : calls)
        {
            SCOPED_TRACE(call.name);
            std::string wholeTold, told;
            Step(call.enter, world);
            Step(call.prepare, world);
            EXPECT_EQ(call.expected, call.make(world, wholeTold));
            Step(call.undo, world);
            Step(call.prepare, world);
            Proxy.Hurt(Harm::Late);
            const auto asked = std::chrono::steady_clock::now();
            EXPECT_EQ(call.expected, call.make(world, told));
            EXPECT_LE(std::chrono::milliseconds(CuttingProxy::kQuietMs), std::chrono::steady_clock::now() - asked);
            EXPECT_TRUE(Proxy.Heal()); // an answer of this call was late
            EXPECT_TRUE(told == wholeTold);
            Step(call.undo, world);
            Step(call.leave, world);
        }
}

// The HTTP library waits for half a minute: all calls wait side by side.
TEST_F(Cuts, AServiceThatAnswersNeverOrTooLateEndsNoCallForEverAndTheNextCallReadsItsOwnAnswer)
{
    if (!everyByte) GTEST_SKIP() << "takes half a minute: system_faults_cut --every";
    struct Waiting
    {
        const ControlCall& call;
        World& world;
        std::string wholeTold;
    };
    // One for those that change nothing, and one for each other call.
    std::vector<std::unique_ptr<World>> worlds;
    std::vector<Waiting> waiting;
    worlds.push_back(std::make_unique<World>(Proxy.Url()));
    for (const std::span<const ControlCall> calls : {ControlCalls(), ContextCalls()})
        for (const ControlCall& call : calls)
        {
            if (call.ChangesSomething()) worlds.push_back(std::make_unique<World>(Proxy.Url()));
            waiting.push_back({call, call.ChangesSomething() ? *worlds.back() : *worlds.front(), ""});
        }
    for (Waiting& each : waiting) // when all conductors are there that one of them lists
    {
        Step(each.call.enter, each.world);
        each.wholeTold = WholeExchangeOf(Proxy, each.world, each.call).told;
        Step(each.call.prepare, each.world);
    }

    Proxy.Hurt(Harm::Silence);
    std::vector<std::future<ZEFA_ERRORCODE>> results;
    for (const Waiting& each : waiting)
        results.push_back(std::async(std::launch::async,
                                     [&each]
                                     {
                                         std::string told;
                                         return Make(each.call, each.world, told);
                                     }));
    for (std::future<ZEFA_ERRORCODE>& result : results)
        EXPECT_NE(kGood, result.get());
    Proxy.AnswerLate();

    for (const auto& [call, world, wholeTold] : waiting)
    {
        SCOPED_TRACE(call.name);
        Step(call.undo, world);
        EXPECT_TRUE(WholeExchangeOf(Proxy, world, call).told == wholeTold);
        Step(call.leave, world);
    }
    std::vector<std::future<void>> ends; // each world waits for its watchdogs
    for (std::unique_ptr<World>& world : worlds)
        ends.push_back(std::async(std::launch::async, [&world] { world.reset(); }));
}

// Where the service is killed: everything on its connections has gone so far, and nothing after it.
std::vector<Cut> DeathsIn(const std::string& request, const std::string& answer)
{
    constexpr Afterwards kNobody = Afterwards::NobodyAnswers;
    return {{Direction::Request, request.size() / 2, kNobody},
            {Direction::Request, request.size(), kNobody},
            {Direction::Answer, 0, kNobody},
            {Direction::Answer, answer.size() / 2, kNobody},
            {Direction::Answer, EndOfTheLastHead(answer), kNobody}};
}

// Kills the service of a new world in the call. The world stays: nobody can end its contexts any more.
void KillUnder(const ControlCall& call, size_t death, pid_t& killed)
{
    static auto& worlds = *new std::vector<std::unique_ptr<World>>; // beyond the end of the process
    MxsProcess service;
    EXPECT_TRUE(RailsOf(killed).empty()) << "the next service has not removed them";
    killed = service.ProcessId();
    CuttingProxy proxy(uint16_t(std::stoul(service.Port())));
    World& world = *worlds.emplace_back(std::make_unique<World>(proxy.Url()));
    Step(call.enter, world);
    const auto [request, answer, wholeTold] = WholeExchangeOf(proxy, world, call);
    Step(call.prepare, world);
    std::string told;

    const Cut cut = DeathsIn(request, answer)[death];
    proxy.StrikeAtTheCut([&] { service.Stop(SIGKILL); });
    proxy.CutAfter(cut.direction, cut.bytes, cut.afterwards);
    const ZEFA_ERRORCODE result = LeaveOutOfReach([&] { return call.make(world, told); });

    EXPECT_TRUE(proxy.Heal()) << cut; // the call may have had what it needs before the service was dead
    EXPECT_FALSE(service.Running()) << cut;
    EXPECT_LE(result, ZEFA_ERR_COMMUNICATION) << cut;
    const bool answered = cut.direction == Direction::Answer && cut.bytes >= EndOfTheLastHead(answer);
    if (!answered && !call.lastMayFail)
    {
        EXPECT_NE(kGood, result) << cut;
    }
    if (result == kGood)
    {
        EXPECT_TRUE(told == wholeTold) << cut;
    }
    uint64_t version = 0;
    EXPECT_EQ(ZEFA_ERR_COMMUNICATION, ZEFA_GetMXSStatus(world.Context(), &version)) << cut;
}

TEST(Deaths, OfTheServiceInACallAreAnErrorOrAWholeResultAndTheNextServiceStartsClean)
{
    constexpr size_t kDeaths = 5, kStride = 21; // of the 190, ten that are of every kind
    pid_t killed = -1;
    size_t kills = 0, place = 0;
    for (const std::span<const ControlCall> calls : {ControlCalls(), ContextCalls()})
        for (const ControlCall& call : calls)
            for (size_t death = 0; death < kDeaths && !testing::Test::HasFailure(); ++death, ++place)
            {
                if (!everyByte && place % kStride != 0) continue;
                SCOPED_TRACE(call.name);
                KillUnder(call, death, killed);
                ++kills;
            }
    const CleanService next;
    EXPECT_TRUE(RailsOf(killed).empty());
    std::printf("%zu services killed in a call\n", kills);
}

} // namespace

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    everyByte = argc > 1 && std::string(argv[1]) == "--every";
    return RUN_ALL_TESTS();
}
