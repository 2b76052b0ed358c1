// What a stranger can do: every route of the service with every method, with the tokens of others and with none.
#include "ServiceFixture.h"

#include <algorithm>
#include <map>
#include <set>

namespace test
{
namespace
{

enum class Whose
{
    Anybodys, // needs no token
    Machines, // any living context, by design: what belongs to the machine, or to the caller alone
    Owners    // the context's that made it
};

// In paths and bodies {context}, {conductor} and {stream} are those of the context that is attacked.
struct Row
{
    const char* method;
    const char* path;
    Whose whose;
    uint32_t refusal = 0;  // of a stranger with a good token
    const char* body = ""; // a good document; null: what the owner reads at the same path
};

constexpr Row kRows[] = {
    {"GET", "MXS/", Whose::Machines},
    {"GET", "MXS/Error/{name}", Whose::Anybodys},
    {"POST", "MXS/ContextManager/Auth/", Whose::Owners, 5011,
     R"({"AppID":"0000000000000000","ContextID":"{context}"})"},
    {"POST", "MXS/ContextManager/Tick/", Whose::Machines},
    {"GET", "MXS/ContextManager/Watchdog/", Whose::Machines},
    {"GET", "MXS/ContextManager/Context/", Whose::Machines},
    {"GET", "MXS/ContextManager/Context/{context}", Whose::Owners, 5012},
    {"GET", "MXS/Conductor/Shared/", Whose::Machines},
    {"GET", "MXS/Conductor/Mines/", Whose::Machines},
    {"POST", "MXS/Conductor/Mines/", Whose::Owners, 5012, R"({"Shared":false,"ID":"{conductor}"})"},
    {"GET", "MXS/Conductor/Mines/{conductor}/Config", Whose::Owners, 5012},
    {"PUT", "MXS/Conductor/Mines/{conductor}/Config", Whose::Owners, 5012, nullptr},
    {"GET", "MXS/Conductor/Mines/{conductor}/State", Whose::Owners, 5012},
    {"PUT", "MXS/Conductor/Mines/{conductor}/State", Whose::Owners, 5012, R"({"Started":true})"},
    {"PUT", "MXS/Conductor/Mines/{conductor}/State", Whose::Owners, 5012, R"({"Started":false})"},
    {"GET", "MXS/Conductor/Mines/{conductor}/Status", Whose::Owners, 5012},
    {"GET", "MXS/CpuCore/", Whose::Machines},
    {"GET", "MXS/CpuCore/{core}/Status", Whose::Machines},
    {"GET", "MXS/NetIf/", Whose::Machines},
    {"GET", "MXS/NetIf/{lo}/Config", Whose::Machines},
    {"PUT", "MXS/NetIf/{lo}/Config", Whose::Machines, 17, nullptr},
    {"GET", "MXS/NetIf/{lo}/Status", Whose::Machines},
    {"GET", "MXS/NetIf/{lo}/UdpPortDrop/", Whose::Machines},
    {"PUT", "MXS/NetIf/{lo}/UdpPortDrop/000000000000138c", Whose::Machines},
    {"DELETE", "MXS/NetIf/{lo}/UdpPortDrop/000000000000138c", Whose::Machines},
    {"GET", "MXS/NetIf/{lo}/UdpPortDrop/000000000000138d", Whose::Machines},
    {"GET", "MXS/Stream/Shared/", Whose::Machines},
    {"GET", "MXS/Stream/Mines/", Whose::Machines},
    {"POST", "MXS/Stream/Mines/", Whose::Machines, 4, R"({"Type":"RX","Essence":1,"Shared":false,"ID":"{stream}"})"},
    {"GET", "MXS/Stream/Mines/{stream}/Config/Common", Whose::Owners, 8},
    {"PUT", "MXS/Stream/Mines/{stream}/Config/Common", Whose::Owners, 8, nullptr},
    {"GET", "MXS/Stream/Mines/{stream}/Config/Essence", Whose::Owners, 8},
    {"PUT", "MXS/Stream/Mines/{stream}/Config/Essence", Whose::Owners, 8, nullptr},
    {"GET", "MXS/Stream/Mines/{stream}/Config/Network", Whose::Owners, 8},
    {"PUT", "MXS/Stream/Mines/{stream}/Config/Network", Whose::Owners, 8, nullptr},
    {"GET", "MXS/Stream/Mines/{stream}/Status/Common", Whose::Owners, 8},
    {"GET", "MXS/Stream/Mines/{stream}/Status/Essence", Whose::Owners, 8},
    {"GET", "MXS/Stream/Mines/{stream}/Status/Network", Whose::Owners, 8},
    {"GET", "MXS/Stream/Mines/{stream}/State", Whose::Owners, 8},
    {"PUT", "MXS/Stream/Mines/{stream}/State", Whose::Owners, 8, R"({"Started":false,"Opened":true})"},
    {"PUT", "MXS/Stream/Mines/{stream}/State", Whose::Owners, 8, R"({"Started":true,"Opened":true})"},
    {"GET", "MXS/PtpApi/Config", Whose::Machines},
    {"PUT", "MXS/PtpApi/Config", Whose::Machines, 0, nullptr},
    {"GET", "MXS/PtpApi/Status", Whose::Machines},
    // Last, for what they end if nobody hinders them.
    {"DELETE", "MXS/Stream/Mines/{stream}", Whose::Owners, 8},
    {"DELETE", "MXS/Conductor/Mines/{conductor}", Whose::Owners, 5012},
    {"DELETE", "MXS/ContextManager/Context/{context}", Whose::Owners, 5012},
};

class Isolation : public ServiceTest
{
protected:
    // The context that is attacked: one conductor, one configured stream.
    void MakeVictim(bool running, bool shared)
    {
        Victim = std::make_unique<Session>(Port());
        const std::string conductor = Victim->CreateConductor(shared), stream = Victim->CreateStream(shared);
        Names = {{"{context}", Victim->ContextId}, {"{conductor}", conductor},   {"{stream}", stream},
                 {"{core}", Victim->FirstCore()},  {"{lo}", Victim->Loopback()}, {"{name}", std::string(64, '0')}};
        Victim->Send("PUT", Named("MXS/Conductor/Mines/{conductor}/Config"), Named(R"({"CpuCoreID":"{core}"})"));
        const std::string config = Named("MXS/Stream/Mines/{stream}/Config/");
        ASSERT_EQ(200u, Victim
                            ->Send("PUT", config + "Common",
                                   Named(R"({"ApplicativeBufferQueueDepth":4,"CpuCores":[],"NumaNode":0,
                                             "ConductorID":"{conductor}"})"))
                            .status);
        ASSERT_EQ(200u, Victim
                            ->Send("PUT", config + "Network", Named(R"({"PayloadType":96,"SSRC":0,"SocketBufferSize":0,
                                             "ConnectionConfigurations":[{"SourceIp":0,"DestinationIp":2130706433,
                                             "DestinationPort":5004,"NetworkInterfaceID":"{lo}","Dscp":0,
                                             "MulticastMode":"Exclusion","MulticastTtl":0}]})"))
                            .status);
        if (!running) return;
        ASSERT_EQ(200u,
                  Victim->Send("PUT", Named("MXS/Conductor/Mines/{conductor}/State"), json{{"Started", true}}).status);
        ASSERT_EQ(200u, Victim->SetState(stream, false, true).status);
        ASSERT_EQ(200u, Victim->SetState(stream, true, true).status);
    }

    std::string Named(std::string text) const
    {
        for (const auto& [name, value] : Names)
            for (size_t at = text.find(name); at != std::string::npos; at = text.find(name))
                text.replace(at, name.size(), value);
        return text;
    }

    std::string BodyOf(const Row& row) { return row.body ? Named(row.body) : Victim->Get(Named(row.path)).body; }

    // All that the victim, and everybody, can read; without the moment of its last request and what the machine moves.
    std::map<std::string, std::string> Snapshot()
    {
        std::map<std::string, std::string> seen;
        for (const Row& row : kRows)
        {
            const std::string path = Named(row.path);
            const bool moves = path.find("Status") != std::string::npos || path == "MXS/" ||
                               row.whose == Whose::Anybodys || path.find("/Context/" + Victim->ContextId) != path.npos;
            if (std::string(row.method) != "GET") continue;
            const Reply reply = Victim->Get(path);
            seen[path] = std::to_string(reply.status) + (moves ? "" : reply.body);
        }
        return seen;
    }

    std::unique_ptr<Session> Victim;
    std::map<std::string, std::string> Names;
};

TEST_F(Isolation, TheTableHasEveryRouteOfTheService)
{
    // A route that is new here and missing there fails, so that nobody forgets to say whose it is.
    std::set<std::string> routes, rows;
    for (const mxs::Api::Route& route : mxs::Api::Routes())
        routes.insert(std::string(route.method) + " " + std::string(route.path));
    const std::vector<std::pair<std::string, std::string>> spellings{{"{context}", "{id}"},
                                                                     {"{conductor}", "{id}"},
                                                                     {"{stream}", "{id}"},
                                                                     {"{core}", "{id}"},
                                                                     {"{lo}", "{id}"},
                                                                     {"Drop/000000000000138c", "Drop/{port}"},
                                                                     {"Drop/000000000000138d", "Drop/{port}"}};
    for (const Row& row : kRows)
    {
        std::string path = row.path;
        for (const auto& [mine, theirs] : spellings)
            if (const size_t at = path.find(mine); at != path.npos) path.replace(at, mine.size(), theirs);
        rows.insert(std::string(row.method) + " " + path);
    }
    EXPECT_EQ(routes, rows);
}

struct Victims
{
    const char* name;
    bool running;
    bool shared; // conductor and stream
};

class IsolationOf : public Isolation, public ::testing::WithParamInterface<Victims>
{
protected:
    void MakeVictim() { Isolation::MakeVictim(GetParam().running, GetParam().shared); }
};

TEST_P(IsolationOf, AnotherContextIsRefusedWhateverItTriesAndChangesNothing)
{
    MakeVictim();
    Session stranger(Port());
    const auto before = Snapshot();
    for (const Row& row : kRows)
    {
        if (row.whose != Whose::Owners) continue;
        // To name a shared conductor here is to attach it, which anybody may.
        if (GetParam().shared && row.path == std::string("MXS/Conductor/Mines/")) continue;
        const Reply reply = stranger.Send(row.method, Named(row.path), BodyOf(row));
        EXPECT_EQ(row.refusal, reply.ErrCode()) << row.method << " " << row.path << " " << reply.body;
        EXPECT_TRUE(reply.authorization.empty());
    }
    // By what is named inside of a document of one's own.
    const std::string own = stranger.CreateStream();
    EXPECT_EQ(5012u, stranger
                         .Send("PUT", "MXS/Stream/Mines/" + own + "/Config/Common",
                               Victim->Get(Named("MXS/Stream/Mines/{stream}/Config/Common")).body)
                         .ErrCode());
    EXPECT_EQ(
        4u,
        stranger.Send("POST", "MXS/Stream/Mines/", Named(R"({"Type":"RX","Essence":1,"Shared":false,"ID":"{stream}"})"))
            .ErrCode());
    // By lists.
    struct
    {
        const char* path;
        std::string tells; // of what is shared
    } const lists[] = {{"MXS/ContextManager/Context/", ""},
                       {"MXS/Conductor/Mines/", ""},
                       {"MXS/Conductor/Shared/", "{conductor}"},
                       {"MXS/Stream/Mines/", ""},
                       {"MXS/Stream/Shared/", "{stream}"}};
    for (const auto& [path, tells] : lists)
        for (const auto& [name, id] : Names)
            EXPECT_EQ(GetParam().shared && name == tells, stranger.Get(path).body.find(id) != std::string::npos)
                << path << " and " << name;
    EXPECT_EQ(before, Snapshot());
}

TEST_P(IsolationOf, AMethodThatAPathDoesNotTakeDoesNothing)
{
    MakeVictim();
    Session stranger(Port());
    const auto before = Snapshot();
    for (const Row& row : kRows)
        for (const char* method : {"GET", "PUT", "POST", "DELETE", "PATCH", "OPTIONS", "TRACE", "HEAD"})
        {
            const bool taken =
                std::any_of(std::begin(kRows), std::end(kRows),
                            [&](const Row& other)
                            { return std::string(other.method) == method && std::string(other.path) == row.path; });
            // The two ports of the table are of one path.
            if (taken || std::string(row.path).find("Drop/0") != std::string::npos) continue;
            const Reply reply = stranger.Send(method, Named(row.path), BodyOf(row));
            EXPECT_EQ(405u, reply.status) << method << row.path;
            EXPECT_EQ(method == std::string("HEAD") ? 0u : 5015u, reply.ErrCode()) << method << row.path; // no body
        }
    EXPECT_EQ(before, Snapshot());
}

TEST_P(IsolationOf, WithoutAGoodTokenNothingIsToldAndNothingChanges)
{
    MakeVictim();
    Session closed(Port());
    ASSERT_EQ(200u, closed.Send("DELETE", "MXS/ContextManager/Context/" + closed.ContextId).status);
    std::string almost = Victim->Token;
    almost.back() = almost.back() == '0' ? '1' : '0';
    struct
    {
        const char* what;
        std::string token;
        uint32_t refusal;
    } const tokens[] = {
        {"none", "", 5014},
        {"a word", "x", 5007},
        {"no hexadecimal digits", std::string(64, 'g'), 5007},
        {"a digit too few", Victim->Token.substr(1), 5007},
        {"a digit too many", Victim->Token + "0", 5007},
        {"a scheme", "Bearer " + Victim->Token, 5007},
        {"the identifier", Victim->ContextId, 5007},
        {"another last digit", almost, 5016},
        {"zeros", std::string(64, '0'), 5016},
        {"of a closed context", closed.Token, 5016},
    };
    const auto before = Snapshot();
    HttpClient client(Port());
    for (const auto& [what, token, refusal] : tokens)
        for (const Row& row : kRows)
        {
            if (row.whose == Whose::Anybodys) continue;
            // Authentication itself is open: it refuses the foreign context, and of a token only one that is dead.
            const bool authentication = std::string(row.path) == "MXS/ContextManager/Auth/";
            const uint32_t expected = authentication && refusal != 5016 ? 5011 : refusal;
            const Reply reply =
                client.Exchange(row.method, Session::Path(Named(row.path)), {{"Authorization", token}}, BodyOf(row));
            EXPECT_EQ(expected, reply.ErrCode()) << what << ": " << row.method << " " << row.path;
            EXPECT_TRUE(reply.authorization.empty() && reply.location.empty());
        }
    EXPECT_EQ(before, Snapshot());
}

constexpr Victims kVictims[] = {
    {"Own", false, false}, {"OwnAndRunning", true, false}, {"Shared", false, true}, {"SharedAndRunning", true, true}};
INSTANTIATE_TEST_SUITE_P(Resources, IsolationOf, ::testing::ValuesIn(kVictims),
                         [](const auto& victims) { return std::string(victims.param.name); });

// The requests above are good ones: it is the token alone that makes the difference.
TEST_F(Isolation, TheOwnerIsRefusedNoneOfThem)
{
    for (const bool shared : {false, true})
        for (const Row& row : kRows)
        {
            if (row.whose != Whose::Owners) continue;
            const bool starts = std::string(row.body ? row.body : "").find(R"("Started":true)") != std::string::npos;
            MakeVictim(starts, shared);
            const Reply reply = Victim->Send(row.method, Named(row.path), BodyOf(row));
            EXPECT_EQ(200u, reply.status) << row.method << " " << row.path << " " << reply.body;
            Victim->Send("DELETE", "MXS/ContextManager/Context/" + Victim->ContextId);
        }
}

} // namespace
} // namespace test
