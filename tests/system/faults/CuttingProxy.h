// Stands between the library and the service, both on the loopback, and cuts the connection in the middle of an
// exchange, or harms the answer.
#pragma once

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <functional>
#include <list>
#include <mutex>
#include <netinet/in.h>
#include <optional>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace test
{

enum class Direction
{
    Request,
    Answer
};

// What is there after the cut.
enum class Afterwards
{
    OnlyThisConnectionEnds, // the next one is served
    NobodyAnswers           // every connection ends, and so does each new one until Heal
};

enum class Harm
{
    None,
    Twice,     // every answer comes twice
    Late,      // every answer comes after a while
    Garbage,   // what comes is no answer
    Silence,   // no answer comes until AnswerLate
    HalfAHead, // no more of it than this does, and the connection stays
    HeadAlone,
    HalfABody
};

inline const char* NameOf(Direction direction)
{
    return direction == Direction::Request ? "request" : "answer";
}

// Exchanges of the watchdog pass uncounted and uncut: they come beside a call, not of it.
class CuttingProxy
{
public:
    static constexpr int kQuietMs = 20; // after which nothing more comes, or what is late does

    explicit CuttingProxy(uint16_t servicePort) : ServicePort(servicePort)
    {
        sockaddr_in name = Loopback(0);
        socklen_t size = sizeof name;
        if (::bind(Listener, reinterpret_cast<const sockaddr*>(&name), sizeof name) != 0 ||
            ::listen(Listener, 64) != 0 || ::getsockname(Listener, reinterpret_cast<sockaddr*>(&name), &size) != 0)
            throw std::runtime_error(std::string("proxy: ") + std::strerror(errno));
        OwnPort = ntohs(name.sin_port);
        Worker = std::thread([this] { Run(); });
    }

    ~CuttingProxy()
    {
        Do([this] { Ended = true; });
        Worker.join();
        for (const Connection& connection : Connections)
            Close(connection);
        ::close(Listener);
        ::close(Wake);
    }

    CuttingProxy(const CuttingProxy&) = delete;
    CuttingProxy& operator=(const CuttingProxy&) = delete;

    std::string Url() const { return "http://localhost:" + std::to_string(OwnPort) + "/"; }

    // Counts from here on, and cuts behind `bytes` bytes that went in the direction.
    void CutAfter(Direction direction, size_t bytes, Afterwards afterwards)
    {
        Do(
            [=, this]
            {
                Plan = {.armed = true, .direction = direction, .bytes = bytes, .afterwards = afterwards},
                Passed[0] = Passed[1] = {};
            });
    }

    // Turns all bits of one byte of the answers. A client that waits for more than there is finds the connection ended
    // when it has been quiet for a while, unless the service is at work on a request.
    void Spoil(size_t place)
    {
        Do([=, this] { Plan = {.spoiled = place}, Passed[0] = Passed[1] = {}; });
    }

    void Hurt(Harm harm)
    {
        Do([=, this] { Plan = {.harm = harm}; });
    }

    // Counts from here on and lets everything pass.
    void Watch()
    {
        Do([this] { Plan = {}, Passed[0] = Passed[1] = {}; });
    }

    // Ends the cutting. Whether there was a cut.
    bool Heal()
    {
        bool cut = false;
        Do([&, this] { cut = Plan.done, Plan = {}, Dead = false; });
        return cut;
    }

    // Ends the harm, and every connection with it. The service has answered all that it was asked on them, whatever the
    // client took for the answer. Whether any answer was harmed.
    bool HealOnNewConnections()
    {
        bool harmed = false;
        Do(
            [&, this]
            {
                harmed = Plan.done;
                Plan = {};
                for (Connection& connection : Connections)
                {
                    ::shutdown(connection.client, SHUT_RDWR);
                    connection.leaving = true;
                }
            });
        for (bool leaving = true; leaving;)
        {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
            Do([&, this] { leaving = std::ranges::any_of(Connections, &Connection::leaving); });
        }
        return harmed;
    }

    // On how many connections something of an answer is held back.
    size_t HeldAnswers()
    {
        ptrdiff_t held = 0;
        Do([&, this]
           { held = std::ranges::count_if(Connections, [](const auto& each) { return !each.heldAnswer.empty(); }); });
        return size_t(held);
    }

    // Ends a silence: what was held back comes now, on the connections that are still there.
    void AnswerLate()
    {
        Do(
            [this]
            {
                Plan = {};
                for (Connection& connection : Connections)
                    SendHeld(connection);
            });
    }

    // Does this, too, where the next cut comes.
    void StrikeAtTheCut(std::function<void()> strike)
    {
        Do([&, this] { Strike = std::move(strike); });
    }

    // What has passed in a direction since the counting started.
    std::string PassedIn(Direction direction)
    {
        std::string text;
        Do([&, this] { text = Passed[size_t(direction)]; });
        return text;
    }

    size_t OpenConnections()
    {
        size_t open = 0;
        Do([&, this] { open = Connections.size(); });
        return open;
    }

private:
    struct Connection
    {
        int client, service;
        std::string held = {}; // the start of a request, until its first line is there
        std::string heldAnswer = {};
        bool answering = true;  // the next byte of the client starts a request
        bool continued = false; // what comes is of an answer of which something has come before
        bool ofTheCall = false; // and not of the watchdog
        bool spoiled = false;
        bool leaving = false;    // until all is answered
        bool clientGone = false; // and so the service is told, which ends the connection then
        bool ended = false;
        std::chrono::steady_clock::time_point lastPassed = {};
    };

    struct CutPlan
    {
        bool armed = false;
        bool done = false; // there was a cut, or an answer was harmed
        Direction direction{};
        size_t bytes = 0;
        Afterwards afterwards{};
        std::optional<size_t> spoiled = {};
        Harm harm = Harm::None;
    };

    static sockaddr_in Loopback(uint16_t port)
    {
        sockaddr_in name{};
        name.sin_family = AF_INET;
        name.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        name.sin_port = htons(port);
        return name;
    }

    static void Close(const Connection& connection)
    {
        ::close(connection.client);
        ::close(connection.service);
    }

    static void Send(int to, const char* bytes, size_t count)
    {
        while (count > 0)
        {
            const auto sent = ::send(to, bytes, count, MSG_NOSIGNAL);
            if (sent <= 0) return; // the end of a connection is seen when it is read
            bytes += sent;
            count -= size_t(sent);
        }
    }

    void Do(const std::function<void()>& change)
    {
        {
            const std::lock_guard lock(Mutex);
            change();
        }
        const uint64_t one = 1;
        if (::write(Wake, &one, sizeof one) != sizeof one) throw std::runtime_error("proxy: no wake");
    }

    void Run()
    {
        std::vector<pollfd> waits;
        for (;;)
        {
            waits = {{Listener, POLLIN, 0}, {Wake, POLLIN, 0}};
            for (const Connection& connection : Connections) // they change on this thread alone
            {
                waits.push_back({connection.clientGone ? -1 : connection.client, POLLIN, 0});
                waits.push_back({connection.service, POLLIN, 0});
            }
            ::poll(waits.data(), waits.size(), kQuietMs);
            const std::lock_guard lock(Mutex);
            if (Ended) return;
            uint64_t wakes = 0;
            if (waits[1].revents && ::read(Wake, &wakes, sizeof wakes) < 0) return;
            size_t at = 2;
            const auto quietSince = std::chrono::steady_clock::now() - std::chrono::milliseconds(kQuietMs);
            for (Connection& connection : Connections)
            {
                const bool fromClient = waits[at++].revents, fromService = waits[at++].revents;
                const bool quiet = !fromClient && !fromService && connection.lastPassed <= quietSince;
                connection.ended |= quiet && connection.spoiled && connection.answering;
                if (quiet && Plan.harm == Harm::Late) SendHeld(connection);
                if (fromService && !connection.ended) Pass(connection, Direction::Answer);
                if (fromClient && !connection.ended) Pass(connection, Direction::Request);
            }
            Connections.remove_if(
                [](const Connection& connection)
                {
                    if (connection.ended) Close(connection);
                    return connection.ended;
                });
            if (waits[0].revents) Accept();
        }
    }

    void Accept()
    {
        const int client = ::accept4(Listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (client < 0) return;
        const int service = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const sockaddr_in name = Loopback(ServicePort);
        Connections.push_back({client, service});
        if (Dead || ::connect(service, reinterpret_cast<const sockaddr*>(&name), sizeof name) != 0)
        {
            Close(Connections.back());
            Connections.pop_back();
        }
    }

    void Pass(Connection& connection, Direction direction)
    {
        const bool request = direction == Direction::Request;
        char bytes[65536];
        const auto got = ::recv(request ? connection.client : connection.service, bytes, sizeof bytes, 0);
        if (got <= 0 && request)
        {
            connection.clientGone = true;
            ::shutdown(connection.service, SHUT_WR);
            return;
        }
        if (got <= 0)
        {
            connection.ended = true;
            return;
        }
        connection.lastPassed = std::chrono::steady_clock::now();
        if (!request)
        {
            connection.continued = std::exchange(connection.answering, true);
            return Forward(connection, direction, std::string(bytes, size_t(got)));
        }
        connection.held.append(bytes, size_t(got));
        if (connection.answering)
        {
            const size_t line = connection.held.find("\r\n");
            if (line == std::string::npos) return;
            connection.answering = false;
            connection.ofTheCall = connection.held.substr(0, line).find("/ContextManager/Tick/") == std::string::npos;
        }
        Forward(connection, direction, std::exchange(connection.held, {}));
    }

    void Forward(Connection& connection, Direction direction, std::string bytes)
    {
        const int to = direction == Direction::Request ? connection.service : connection.client;
        if (connection.ofTheCall)
        {
            std::string& passed = Passed[size_t(direction)];
            passed += bytes;
            if (Plan.armed && direction == Plan.direction && passed.size() >= Plan.bytes)
            {
                bytes.resize(bytes.size() - (passed.size() - Plan.bytes));
                passed.resize(Plan.bytes);
                Plan.armed = false;
                Plan.done = true;
                connection.ended = true;
                if (Plan.afterwards == Afterwards::NobodyAnswers) Dead = true;
            }
            if (direction == Direction::Answer) Damage(connection, bytes, passed.size() - bytes.size());
        }
        Send(to, bytes.data(), bytes.size());
        if (connection.ended && Strike) std::exchange(Strike, {})();
        if (!Dead) return;
        for (Connection& other : Connections)
            other.ended = true;
    }

    static void SendHeld(Connection& connection)
    {
        Send(connection.client, connection.heldAnswer.data(), connection.heldAnswer.size());
        connection.heldAnswer.clear();
    }

    // How much of an answer comes before its silence.
    static size_t SizeBeforeSilence(Harm harm, const std::string& answer)
    {
        const size_t end = answer.find("\r\n\r\n");
        const size_t head = end == std::string::npos ? answer.size() : end + 4;
        switch (harm)
        {
        case Harm::HalfAHead: return head / 2;
        case Harm::HeadAlone: return head;
        case Harm::HalfABody: return head + (answer.size() - head) / 2;
        default: return 0;
        }
    }

    // `before`: how much of the answers there was before these bytes.
    void Damage(Connection& connection, std::string& bytes, size_t before)
    {
        Plan.done |= Plan.harm != Harm::None;
        if (Plan.harm == Harm::Late || Plan.harm >= Harm::Silence)
        {
            const size_t passing = connection.continued ? 0 : SizeBeforeSilence(Plan.harm, bytes);
            connection.heldAnswer += bytes.substr(passing);
            bytes.resize(passing);
        }
        if (Plan.harm == Harm::Twice) bytes += bytes;
        if (Plan.harm == Harm::Garbage)
        {
            bytes = "\x16\x03\x01 garbage\r\n\r\n";
            connection.spoiled = true;
        }
        if (!Plan.spoiled || *Plan.spoiled < before || *Plan.spoiled >= before + bytes.size()) return;
        bytes[*Plan.spoiled - before] = char(~bytes[*Plan.spoiled - before]);
        Plan.done = connection.spoiled = true;
    }

    const uint16_t ServicePort;
    const int Listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int Wake = ::eventfd(0, EFD_CLOEXEC);
    uint16_t OwnPort = 0;
    std::mutex Mutex; // guards all that follows
    std::function<void()> Strike;
    std::list<Connection> Connections;
    CutPlan Plan;
    std::string Passed[2];
    bool Dead = false, Ended = false;
    std::thread Worker;
};

} // namespace test
