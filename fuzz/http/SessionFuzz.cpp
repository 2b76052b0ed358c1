// The bytes of one connection to the service: what its HTTP server makes of them, and what it answers. Behind the
// server stands a handler that gives back what it was asked.
#include "mxs/HttpServer.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <netinet/in.h>
#include <set>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <unistd.h>

using namespace mxs;

namespace
{

constexpr HttpLimits kLimits{.threads = 1, .headerBytes = 512, .bodyBytes = 256};
constexpr std::string_view kFirstWords = "HTTP/1.1 ", kEndOfHeader = "\r\n\r\n";

void Require(bool holds)
{
    if (!holds) std::abort();
}

HttpAnswer GiveBack(const HttpRequest& request)
{
    Require(IsPermittedHost(request.host));
    Require(request.body.size() <= kLimits.bodyBytes);
    Require(request.target.size() <= kLimits.headerBytes && request.authorization.size() <= kLimits.headerBytes);
    HttpAnswer answer;
    answer.status = request.method == "POST" ? 201 : 200;
    answer.body = "{\"Length\":" + std::to_string(request.body.size()) + "}";
    answer.location = request.method == "POST" ? "v1.0/MXS/" : "";
    return answer;
}

const Log& CheckedLog() // a line that a terminal can be shown
{
    static const Log log(LogLevel::Debug,
                         [](LogLevel, std::string_view line) {
                             Require(std::none_of(line.begin(), line.end(), [](char c) { return c >= 0 && c < ' '; }));
                         });
    return log;
}

uint16_t ServerPort()
{
    static HttpServer server(kLimits, GiveBack, CheckedLog());
    if (server.Port() == 0) server.Start(0);
    return server.Port();
}

class Connection
{
public:
    // From one of many addresses, for a port of each rests a minute behind its connection.
    explicit Connection(uint16_t port)
    {
        static uint32_t count = 0;
        Require(Descriptor >= 0);
        const uint32_t source = INADDR_LOOPBACK + (count++ % 65536 << 8);
        Require(bind(Descriptor, Address(source, 0), sizeof(sockaddr_in)) == 0);
        Require(Connect(Address(INADDR_LOOPBACK, port)));
    }
    ~Connection() { close(Descriptor); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    // All that is answered to these bytes; nothing where the server has closed with some of them unread, which may take
    // an answer back.
    std::string Say(std::string_view bytes)
    {
        while (!bytes.empty())
        {
            const ssize_t sent = send(Descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL);
            if (sent < 0) break; // it has closed already
            bytes.remove_prefix(static_cast<size_t>(sent));
        }
        shutdown(Descriptor, SHUT_WR);
        std::string heard;
        std::array<char, 4096> piece;
        for (;;)
        {
            const ssize_t got = recv(Descriptor, piece.data(), piece.size(), 0);
            if (got <= 0) return got == 0 ? heard : "";
            heard.append(piece.data(), static_cast<size_t>(got));
        }
    }

private:
    // The alarm that the fuzzer sets for inputs that take too long interrupts; what was begun goes on.
    bool Connect(const sockaddr* address)
    {
        while (connect(Descriptor, address, sizeof(sockaddr_in)) != 0)
            if (errno != EINTR && errno != EALREADY) return errno == EISCONN;
        return true;
    }

    const sockaddr* Address(uint32_t host, uint16_t port)
    {
        Place = {};
        Place.sin_family = AF_INET;
        Place.sin_addr.s_addr = htonl(host);
        Place.sin_port = htons(port);
        return reinterpret_cast<const sockaddr*>(&Place);
    }

    const int Descriptor = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in Place = {};
};

// One answer after another, each whole. Whether the body of one is left out only the request says: that of a HEAD has
// none, though its length is told.
void CheckAnswers(std::string_view heard)
{
    static const std::set<std::string_view> kStatuses{"100", "200", "201", "400", "401", "403", "413", "431"};
    while (!heard.empty())
    {
        Require(heard.starts_with(kFirstWords));
        Require(kStatuses.contains(heard.substr(kFirstWords.size(), 3)));
        const size_t end = heard.find(kEndOfHeader);
        Require(end != std::string_view::npos);
        heard.remove_prefix(end + kEndOfHeader.size());
        if (heard.starts_with(kFirstWords)) continue;
        const size_t next = std::min(heard.find(kFirstWords), heard.size());
        if (next > 0) Require(nlohmann::json::accept(heard.substr(0, next)));
        heard.remove_prefix(next);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    CheckAnswers(Connection(ServerPort()).Say({reinterpret_cast<const char*>(data), size}));
    return 0;
}
