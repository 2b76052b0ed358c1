// The service dies at each point of each exported call: a proxy cuts the connection behind every byte of the request
// and of the answer. The call has to answer, what it tells has to be whole, and the next one has to work.
//     system_faults_cut           a choice of places: both ends, all ends of lines, some between
//     system_faults_cut --every   every byte, both ways to end (by turns where a context is made or ended); five deaths
//                                 of the process in each call; and a service that answers seconds late, never, or too
//                                 late, or of whose answers the rest never comes
#include "CleanService.h"
#include "ControlCalls.h"
#include "CuttingProxy.h"
#include "Leftovers.h"
#include "support/LostService.h"
#include "support/PtpScripts.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <functional>
#include <future>
#include <initializer_list>
#include <iterator>
#include <regex>
#include <set>
#include <string_view>

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
constexpr size_t kEnds = 3; // places at each end of a text that are always tried
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

// Of places, when it is not every byte.
struct Choice
{
    Ways ways;
    size_t stride = 47;
    bool endsOfLines = true;
};

constexpr Choice kUsual{Ways::Both}, kOfAContextsLife{Ways::InTurn};
constexpr Choice kOfAFurtherEssence{Ways::InTurn, 139, false}; // each start of one fills megabytes

void AddCuts(Direction direction, const std::string& text, const Choice& choice, std::vector<Cut>& cuts)
{
    const bool both = everyByte && choice.ways == Ways::Both;
    for (size_t at = 0; at <= text.size(); ++at)
    {
        const bool endOfLine = choice.endsOfLines && at >= 2 && text.compare(at - 2, 2, "\r\n") == 0;
        const bool chosen = endOfLine || at < kEnds || at + kEnds > text.size() || at % choice.stride == 0;
        if (!everyByte && !chosen) continue;
        const bool alone = cuts.size() % 2 == 0;
        if (both || alone) cuts.push_back({direction, at, Afterwards::OnlyThisConnectionEnds});
        if (both || !alone) cuts.push_back({direction, at, Afterwards::NobodyAnswers});
    }
}

std::vector<Cut> CutsOf(const std::string& request, const std::string& answer, const Choice& choice)
{
    std::vector<Cut> cuts;
    AddCuts(Direction::Request, request, choice, cuts);
    AddCuts(Direction::Answer, answer, choice, cuts);
    return cuts;
}

bool IsFurther(const EssenceName& essence)
{
    return essence.type != kEssences[0].type;
}

constexpr std::string_view kEndOfHead = "\r\n\r\n";

size_t EndOfTheLastHead(const std::string& answers)
{
    return answers.rfind(kEndOfHead) + kEndOfHead.size();
}

// Before the last head has passed there is no result. Answers are not as long each time: a rate may have more digits.
bool HasTheHeadsOf(const std::string& whole, const std::string& passed)
{
    const auto heads = [](const std::string& answers)
    {
        size_t count = 0;
        for (size_t at = answers.find(kEndOfHead); at != std::string::npos; at = answers.find(kEndOfHead, at + 1))
            ++count;
        return count;
    };
    return heads(passed) >= heads(whole);
}

// Of the places of a call.
struct Figures
{
    struct
    {
        size_t places = 0, harmed = 0;
    } in[2]; // the request and the answer
    size_t failures = 0;

    void Count(Direction direction, bool wasHarmed, ZEFA_ERRORCODE result)
    {
        ++in[size_t(direction)].places;
        in[size_t(direction)].harmed += wasHarmed;
        failures += result != kGood;
    }

    void Print(const std::string& name, const std::string& request, const std::string& answer) const
    {
        std::printf("%-44s request %5zu bytes, answer %5zu bytes: %5zu places, %5zu of them harmed, %5zu errors\n",
                    name.c_str(), request.size(), answer.size(), in[0].places + in[1].places,
                    in[0].harmed + in[1].harmed, failures);
    }

    // A number may have fewer digits than it had when the places were chosen: then nothing is harmed at those that lie
    // behind the end.
    void ExpectMostHarmed(std::initializer_list<Direction> directions) const
    {
        for (const Direction direction : directions)
        {
            const auto [places, harmed] = in[size_t(direction)];
            EXPECT_LT(0u, harmed) << "no " << NameOf(direction) << " was harmed";
            EXPECT_LE(places, harmed + std::max(kEnds, places / 10)) << "places in the " << NameOf(direction);
        }
    }
};

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
    const ZEFA_ESSENCE_TYPE essence = world->EssenceType;
    world.reset();
    world = std::make_unique<World>(proxy.Url(), essence);
}

// Cuts the call at its places.
void PlayCuts(CuttingProxy& proxy, std::unique_ptr<World>& world, const ControlCall& call, const EssenceName& essence)
{
    const std::string name = NameOf(call, essence);
    SCOPED_TRACE(name);
    Step(call.enter, *world);
    const auto [request, answer, wholeTold] = WholeExchangeOf(proxy, *world, call);

    Figures figures;
    size_t losses = 0;
    for (const Cut& cut : CutsOf(request, answer, IsFurther(essence) ? kOfAFurtherEssence : kUsual))
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
                                  !HasTheHeadsOf(answer, proxy.PassedIn(Direction::Answer));
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
    figures.Print(name, request, answer);
    figures.ExpectMostHarmed({Direction::Request, Direction::Answer});
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
    for (const EssenceName& essence : kEssences)
    {
        auto world = std::make_unique<World>(Proxy.Url(), essence.type);
        for (const ControlCall& call : CallsBesideAStreamOf(essence))
            if (!HasFailure()) PlayCuts(Proxy, world, call, essence);
    }
    ServiceBefore.threads += PtpScripts::kThreads;
    ServiceBefore.descriptors += PtpScripts::kDescriptors;
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
    for (const Cut& cut : CutsOf(request, answer, kOfAContextsLife))
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
    figures.ExpectMostHarmed({Direction::Request, Direction::Answer});
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
    for (const Cut& cut : CutsOf(request, answer, kOfAContextsLife))
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
    figures.ExpectMostHarmed({Direction::Request, Direction::Answer});
    {
        const World next(Proxy.Url());
    }
    ExpectNothingLeft(lost);
}

// Turns bytes of the call's answer, one in each repetition.
void PlayDamage(CuttingProxy& proxy, std::unique_ptr<World>& world, const ControlCall& call, const EssenceName& essence)
{
    const std::string name = NameOf(call, essence);
    SCOPED_TRACE(name);
    Step(call.enter, *world);
    const auto [request, answer, wholeTold] = WholeExchangeOf(proxy, *world, call);
    const size_t stride = everyByte ? 1 : IsFurther(essence) ? 197 : 29;
    Figures figures;
    size_t losses = 0;
    for (size_t place = 0; place < answer.size() && !testing::Test::HasFailure(); place += stride)
    {
        Step(call.prepare, *world);
        std::string told;
        proxy.Spoil(place);
        const ZEFA_ERRORCODE result = Make(call, *world, told);
        // With a wrong length, the rest of an answer may still lie in the old one.
        figures.Count(Direction::Answer, proxy.HealOnNewConnections(), result);
        SCOPED_TRACE(place);
        EXPECT_LE(result, ZEFA_ERR_COMMUNICATION);
        ExpectAWorkingCall(*world);
        Step(call.undo, *world);
        if (call.leavesWhatIsLost) RenewAfterLosses(++losses, proxy, world);
    }
    Step(call.leave, *world);
    figures.Print(name, request, answer);
    figures.ExpectMostHarmed({Direction::Answer});
}

TEST_F(Cuts, ADamagedByteOfTheAnswerIsAnErrorOrAnotherValueAndTheNextCallWorks)
{
    for (const EssenceName& essence : kEssences)
    {
        auto world = std::make_unique<World>(Proxy.Url(), essence.type);
        for (const ControlCall& call : CallsBesideAStreamOf(essence))
        {
            const bool unmakesAnother = std::string_view(call.name) == "CreateConductor"; // one of another number
            if (!unmakesAnother) PlayDamage(Proxy, world, call, essence);
        }
    }
}

void PlayTwiceAndGarbage(CuttingProxy& proxy, World& world, const ControlCall& call)
{
    Step(call.enter, world);
    for (const Harm harm : {Harm::Twice, Harm::Garbage})
    {
        Step(call.prepare, world);
        proxy.Hurt(harm);
        for (int times = 0; times < (call.ChangesSomething() ? 1 : 3); ++times) // a copy may answer the next one
        {
            std::string told;
            const ZEFA_ERRORCODE result = Make(call, world, told);
            EXPECT_LE(result, ZEFA_ERR_COMMUNICATION);
            EXPECT_TRUE(harm == Harm::Twice || result != kGood);
        }
        uint64_t version = 0;
        EXPECT_LE(ZEFA_GetMXSStatus(world.Context(), &version), ZEFA_ERR_COMMUNICATION);
        EXPECT_TRUE(proxy.HealOnNewConnections()); // one of the answers at least came so
        UseUpOldAnswers(proxy, world);
        ExpectAWorkingCall(world);
        Step(call.undo, world);
        WholeExchangeOf(proxy, world, call);
    }
    Step(call.leave, world);
}

TEST_F(Cuts, AnswersThatComeTwiceOrAreGarbageEndNoCallForEver)
{
    for (const EssenceName& essence : kEssences)
    {
        World world(Proxy.Url(), essence.type);
        for (const ControlCall& call : CallsBesideAStreamOf(essence))
        {
            SCOPED_TRACE(NameOf(call, essence));
            PlayTwiceAndGarbage(Proxy, world, call);
        }
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
    figures.ExpectMostHarmed({Direction::Answer});
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

// Those of a context's life, too: with the first essence, for they know none.
std::vector<ControlCall> AllCallsBesideAStreamOf(const EssenceName& essence)
{
    std::vector<ControlCall> calls = CallsBesideAStreamOf(essence);
    if (!IsFurther(essence)) calls.insert(calls.end(), ContextCalls().begin(), ContextCalls().end());
    return calls;
}

TEST_F(Cuts, AnswersThatComeLateAreWaitedFor)
{
    for (const EssenceName& essence : kEssences)
    {
        World world(Proxy.Url(), essence.type);
        for (const ControlCall& call : AllCallsBesideAStreamOf(essence))
        {
            SCOPED_TRACE(NameOf(call, essence));
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
}

// All calls at once, each that changes something in a world of its own; those that tell essences apart, with each.
class CallsSideBySide
{
public:
    explicit CallsSideBySide(CuttingProxy& proxy) : Proxy(proxy)
    {
        for (const EssenceName& essence : kEssences)
        {
            World& unchanging = NewWorld(essence);
            for (const ControlCall& call : AllCallsBesideAStreamOf(essence))
                Places.push_back(
                    {call, NameOf(call, essence), call.ChangesSomething() ? NewWorld(essence) : unchanging, ""});
        }
        for (Place& each : Places) // when all conductors are there that one of them lists
        {
            Step(each.call.enter, each.world);
            each.wholeTold = WholeExchangeOf(Proxy, each.world, each.call).told;
        }
    }

    ~CallsSideBySide()
    {
        for (const Place& each : Places)
            Step(each.call.leave, each.world);
        std::vector<std::future<void>> ends; // each world waits for its watchdogs
        for (std::unique_ptr<World>& world : Worlds)
            ends.push_back(std::async(std::launch::async, [&world] { world.reset(); }));
    }

    CallsSideBySide(const CallsSideBySide&) = delete;
    CallsSideBySide& operator=(const CallsSideBySide&) = delete;

    // Makes them while answers are harmed, until all have given up or the harm ends. The next ones read their own
    // answers.
    void MakeAll(Harm harm, const std::function<void()>& meanwhile = {})
    {
        for (const Place& each : Places)
            Step(each.call.prepare, each.world);
        Proxy.Hurt(harm);
        std::vector<std::future<Outcome>> outcomes;
        for (const Place& each : Places)
            outcomes.push_back(std::async(std::launch::async,
                                          [&each]
                                          {
                                              Outcome outcome;
                                              outcome.result = Make(each.call, each.world, outcome.told);
                                              return outcome;
                                          }));
        if (meanwhile) meanwhile();
        for (size_t i = 0; i < Places.size(); ++i)
        {
            SCOPED_TRACE(Places[i].name);
            const Outcome outcome = outcomes[i].get();
            EXPECT_LE(outcome.result, ZEFA_ERR_COMMUNICATION);
            if (outcome.result == kGood)
            {
                EXPECT_TRUE(outcome.told == Places[i].wholeTold) << "half is told as the whole";
            }
            if (meanwhile)
            {
                EXPECT_EQ(Places[i].call.expected, outcome.result);
            }
            else if (harm == Harm::Silence || harm == Harm::HalfAHead)
            {
                EXPECT_NE(kGood, outcome.result);
            }
        }
        Proxy.AnswerLate();
        for (const auto& [call, name, world, wholeTold] : Places)
        {
            SCOPED_TRACE(name);
            Step(call.undo, world);
            EXPECT_TRUE(WholeExchangeOf(Proxy, world, call).told == wholeTold);
        }
    }

    // Lets all that is held back come after a while, counted from when each call waits for some of it.
    void AnswerAllAfter(std::chrono::seconds late)
    {
        EXPECT_TRUE(Await([this] { return Proxy.HeldAnswers() >= Places.size(); }));
        std::this_thread::sleep_for(late);
        Proxy.AnswerLate();
    }

private:
    World& NewWorld(const EssenceName& essence)
    {
        return *Worlds.emplace_back(std::make_unique<World>(Proxy.Url(), essence.type));
    }

    struct Place
    {
        ControlCall call;
        std::string name;
        World& world;
        std::string wholeTold;
    };
    struct Outcome
    {
        ZEFA_ERRORCODE result = kGood;
        std::string told = {};
    };

    CuttingProxy& Proxy;
    std::vector<std::unique_ptr<World>> Worlds;
    std::vector<Place> Places;
};

class Answers : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!everyByte) GTEST_SKIP() << "the HTTP library waits for half a minute: system_faults_cut --every";
        Service = std::make_unique<CleanService>(kLongLife);
        Proxy = std::make_unique<CuttingProxy>(uint16_t(std::stoul(Service->Port())));
        Calls = std::make_unique<CallsSideBySide>(*Proxy);
    }

    // No context ends while its first answer is on its way.
    inline static const std::vector<std::string> kLongLife{"--context-ttl", "60"};
    std::unique_ptr<CleanService> Service;
    std::unique_ptr<CuttingProxy> Proxy;
    std::unique_ptr<CallsSideBySide> Calls;
};

TEST_F(Answers, ThatComeSecondsLateAreWaitedFor)
{
    Calls->MakeAll(Harm::Silence, [this] { Calls->AnswerAllAfter(std::chrono::seconds(5)); });
}

TEST_F(Answers, ThatComeNeverOrTooLateEndNoCallForEverAndTheNextCallReadsItsOwn)
{
    Calls->MakeAll(Harm::Silence);
}

TEST_F(Answers, WhoseRestNeverComesEndNoCallForEverAndTheNextCallReadsItsOwn)
{
    for (const Harm harm : {Harm::HalfAHead, Harm::HeadAlone, Harm::HalfABody})
    {
        SCOPED_TRACE(int(harm));
        Calls->MakeAll(harm);
    }
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
void KillUnder(const ControlCall& call, ZEFA_ESSENCE_TYPE essence, size_t death, pid_t& killed)
{
    static auto& worlds = *new std::vector<std::unique_ptr<World>>; // beyond the end of the process
    MxsProcess service;
    EXPECT_TRUE(RailsOf(killed).empty()) << "the next service has not removed them";
    killed = service.ProcessId();
    CuttingProxy proxy(uint16_t(std::stoul(service.Port())));
    World& world = *worlds.emplace_back(std::make_unique<World>(proxy.Url(), essence));
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
    const bool answered = HasTheHeadsOf(answer, proxy.PassedIn(Direction::Answer));
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
    constexpr size_t kDeaths = 5, kStride = 17; // of the 235, fourteen that are of every kind
    pid_t killed = -1;
    size_t kills = 0, place = 0;
    for (const EssenceName& essence : kEssences)
    {
        std::vector<ControlCall> calls = CallsBesideAStreamOf(essence);
        if (!IsFurther(essence)) calls.insert(calls.end(), ContextCalls().begin(), ContextCalls().end());
        for (const ControlCall& call : calls)
            for (size_t death = 0; death < kDeaths && !testing::Test::HasFailure(); ++death, ++place)
            {
                if (!everyByte && place % kStride != 0) continue;
                SCOPED_TRACE(NameOf(call, essence));
                KillUnder(call, essence.type, death, killed);
                ++kills;
            }
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
    const PtpScripts scripts;
    return RUN_ALL_TESTS();
}
