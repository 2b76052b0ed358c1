// The scripted peer's threads: one for each listening address, one for each connection. All of them block on their
// socket and are woken by its shutdown, so an end never waits for a time-out.
#include "support/FakeMxs.h"

#include "support/HttpLibraryRaces.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <list>
#include <map>
#include <mutex>
#include <sstream>
#include <thread>

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ip/v6_only.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/string.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/status.hpp>
#include <boost/beast/http/string_body.hpp>

#include <sys/socket.h>

namespace asio = boost::asio;
namespace http = boost::beast::http;
using tcp = asio::ip::tcp;
using boost::system::error_code;

namespace
{

const std::string kPrefix = "/api/x-mxs/v1.0/";
constexpr uint64_t kLargestRequest = 64 * 1024 * 1024;

std::string PathOf(const std::string& target)
{
    return target.rfind(kPrefix, 0) == 0 ? target.substr(kPrefix.size()) : target;
}

FakeHeaders HeadersOf(const std::string& head)
{
    FakeHeaders headers;
    std::istringstream lines(head);
    std::string line;
    std::getline(lines, line); // the request line
    while (std::getline(lines, line))
    {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        const size_t colon = line.find(':');
        if (colon == std::string::npos) continue;
        const size_t value = line.find_first_not_of(' ', colon + 1);
        headers.emplace_back(line.substr(0, colon), value == std::string::npos ? "" : line.substr(value));
    }
    return headers;
}

std::string HeadOf(const FakeAnswer& answer)
{
    std::ostringstream head;
    head << "HTTP/1.1 " << answer.Status << ' ' << http::obsolete_reason(http::int_to_status(answer.Status)) << "\r\n";
    if (!answer.Body.empty() && !answer.ContentType.empty()) head << "Content-Type: " << answer.ContentType << "\r\n";
    for (const auto& [name, value] : answer.Headers)
        head << name << ": " << value << "\r\n";
    if (answer.CloseAfter) head << "Connection: close\r\n";
    head << "Content-Length: " << answer.Body.size() << "\r\n\r\n";
    return head.str();
}

struct Connection
{
    explicit Connection(tcp::socket socket, size_t number) : Socket(std::move(socket)), Number(number) {}

    tcp::socket Socket;
    const size_t Number;
    bool Idle = true; // no byte of a request has come since the last answer; guarded by the server's lock
    bool Done = false;
    std::thread Thread;
};

} // namespace

std::vector<std::string> FakeRequest::Values(const std::string& name) const
{
    std::vector<std::string> values;
    for (const auto& [header, value] : Headers)
        if (boost::beast::iequals(header, name)) values.push_back(value);
    return values;
}

class FakeMxs::Server
{
public:
    explicit Server(uint16_t port)
    {
        // The free port of the one address may be taken on the other: then another is tried.
        for (int attempt = 0; attempt < 20 && !Listen(port); ++attempt)
            Listeners.clear();
        if (Listeners.empty())
        {
            std::fputs("FakeMxs: no port, or not the wanted one, is free on 127.0.0.1 and ::1.\n", stderr);
            std::abort();
        }
        for (tcp::acceptor& listener : Listeners)
            AcceptThreads.emplace_back([this, &listener] { Accept(listener); });
    }

    ~Server() { Stop(); }

    void Stop()
    {
        {
            std::lock_guard lock(Mutex);
            Stopping = true;
            // A shut down listener lets its blocked accept return; closing it here would race with that thread.
            for (tcp::acceptor& listener : Listeners)
                ::shutdown(listener.native_handle(), SHUT_RDWR);
            for (Connection& connection : Connections)
                if (!connection.Done) ::shutdown(connection.Socket.native_handle(), SHUT_RDWR);
        }
        Changed.notify_all();
        for (std::thread& thread : AcceptThreads)
            thread.join();
        AcceptThreads.clear();
        for (Connection& connection : Connections) // no accept thread is left to add one
            if (connection.Thread.joinable()) connection.Thread.join();
        Listeners.clear();
    }

    void CloseIdleConnections()
    {
        std::unique_lock lock(Mutex);
        std::vector<Connection*> idle;
        for (Connection& connection : Connections)
        {
            if (connection.Done || !connection.Idle) continue;
            ::shutdown(connection.Socket.native_handle(), SHUT_RDWR);
            idle.push_back(&connection);
        }
        Changed.wait(lock, [&] { return std::all_of(idle.begin(), idle.end(), [](auto* c) { return c->Done; }); });
    }

    struct Script
    {
        std::deque<FakeAnswer> Once;
        std::optional<FakeAnswer> Always;
    };
    using Key = std::pair<std::string, std::string>; // method and path

    mutable std::mutex Mutex;
    mutable std::condition_variable Changed; // a request has come, a connection has ended, or all ends
    std::map<Key, Script> Scripts;
    std::vector<FakeRequest> Requests;
    std::list<Connection> Connections; // a list: the threads keep references
    uint16_t Port = 0;

private:
    bool Listen(uint16_t port)
    {
        Port = port;
        for (const char* address : {"127.0.0.1", "::1"})
        {
            const tcp::endpoint endpoint(asio::ip::make_address(address), Port);
            error_code error;
            tcp::acceptor listener(Context);
            listener.open(endpoint.protocol(), error);
            if (!error && endpoint.protocol() == tcp::v6()) listener.set_option(asio::ip::v6_only(true), error);
            // Connections of the one that had the port before may linger.
            if (!error && port != 0) listener.set_option(asio::socket_base::reuse_address(true), error);
            if (!error) listener.bind(endpoint, error);
            if (error == asio::error::address_in_use) return false;
            if (!error) listener.listen(asio::socket_base::max_listen_connections, error);
            if (error) continue; // no such address on this machine
            Port = listener.local_endpoint().port();
            Listeners.push_back(std::move(listener));
        }
        return !Listeners.empty();
    }

    void Accept(tcp::acceptor& listener)
    {
        for (;;)
        {
            error_code error;
            tcp::socket socket(Context);
            listener.accept(socket, error);
            std::lock_guard lock(Mutex);
            if (error || Stopping) return;
            Connection& connection = Connections.emplace_back(std::move(socket), Connections.size());
            connection.Thread = std::thread([this, &connection] { Serve(connection); });
        }
    }

    void Serve(Connection& connection)
    {
        connection.Socket.set_option(tcp::no_delay(true));
        boost::beast::flat_buffer buffer;
        while (std::optional<FakeRequest> request = Read(connection, buffer))
        {
            if (!Write(connection, Record(*request))) break;
        }
        std::lock_guard lock(Mutex);
        error_code ignored;
        connection.Socket.close(ignored);
        connection.Done = true;
        Changed.notify_all();
    }

    std::optional<FakeRequest> Read(Connection& connection, boost::beast::flat_buffer& buffer)
    {
        http::request_parser<http::string_body> parser;
        parser.body_limit(kLargestRequest);
        parser.eager(true);
        std::string raw; // what the parser has taken: fields alone would lose order and spelling
        error_code error;
        while (!parser.is_done())
        {
            if (buffer.size() > 0)
            {
                const size_t taken = parser.put(buffer.data(), error);
                raw.append(static_cast<const char*>(buffer.data().data()), taken);
                buffer.consume(taken);
                if (error && error != http::error::need_more) return std::nullopt;
                if (parser.is_done()) break;
            }
            const size_t count = connection.Socket.read_some(buffer.prepare(65536), error);
            if (error) return std::nullopt;
            buffer.commit(count);
            std::lock_guard lock(Mutex);
            connection.Idle = false;
        }
        const auto& message = parser.get();
        FakeRequest request;
        request.Method = std::string(message.method_string());
        request.Target = std::string(message.target());
        request.Path = PathOf(request.Target);
        request.Head = raw.substr(0, raw.find("\r\n\r\n") + 4);
        request.Headers = HeadersOf(request.Head);
        request.Body = message.body();
        request.ConnectionNumber = connection.Number;
        return request;
    }

    FakeAnswer Record(const FakeRequest& request)
    {
        std::lock_guard lock(Mutex);
        Requests.push_back(request);
        Changed.notify_all();
        const auto found = Scripts.find({request.Method, request.Path});
        if (found != Scripts.end() && !found->second.Once.empty())
        {
            FakeAnswer answer = std::move(found->second.Once.front());
            found->second.Once.pop_front();
            return answer;
        }
        if (found != Scripts.end() && found->second.Always) return *found->second.Always;
        FakeAnswer unknown;
        unknown.Status = 404;
        unknown.Body = R"({"ErrMsg": "FakeMxs has no answer for this.", "ErrCode": 5008})";
        return unknown;
    }

    // False when the connection is to end.
    bool Write(Connection& connection, const FakeAnswer& answer)
    {
        if (!Pause(answer.Delay)) return false;
        if (answer.BodyDelay.count() != 0 && !(Send(connection, HeadOf(answer)) && Pause(answer.BodyDelay)))
            return false;
        {
            std::lock_guard lock(Mutex);
            connection.Idle = true; // before the bytes: who has received them may close idle connections at once
        }
        const std::string head = answer.BodyDelay.count() != 0 ? "" : HeadOf(answer);
        return Send(connection, answer.Raw ? *answer.Raw : head + answer.Body) && !answer.CloseAfter;
    }

    bool Send(Connection& connection, const std::string& bytes)
    {
        error_code error;
        asio::write(connection.Socket, asio::buffer(bytes), error);
        return !error;
    }

    bool Pause(std::chrono::milliseconds time)
    {
        if (time.count() == 0) return true;
        std::unique_lock lock(Mutex);
        return !Changed.wait_for(lock, time, [this] { return Stopping; });
    }

    asio::io_context Context; // carries the sockets; nothing asynchronous runs on it
    std::vector<tcp::acceptor> Listeners;
    std::vector<std::thread> AcceptThreads;
    bool Stopping = false;
};

FakeMxs::FakeMxs(uint16_t port) : Impl(std::make_unique<Server>(port)) {}

FakeMxs::~FakeMxs() = default;

uint16_t FakeMxs::Port() const
{
    return Impl->Port;
}

std::string FakeMxs::Url() const
{
    return "http://localhost:" + std::to_string(Port()) + "/";
}

std::string FakeMxs::BaseUrl() const
{
    return Url() + "api/x-mxs/";
}

void FakeMxs::Answer(const std::string& method, const std::string& path, FakeAnswer answer)
{
    std::lock_guard lock(Impl->Mutex);
    Impl->Scripts[{method, path}].Always = std::move(answer);
}

void FakeMxs::Answer(const std::string& method, const std::string& path, unsigned status, std::string body,
                     FakeHeaders headers)
{
    FakeAnswer answer;
    answer.Status = status;
    answer.Body = std::move(body);
    answer.Headers = std::move(headers);
    Answer(method, path, std::move(answer));
}

void FakeMxs::AnswerOnce(const std::string& method, const std::string& path, FakeAnswer answer)
{
    std::lock_guard lock(Impl->Mutex);
    Impl->Scripts[{method, path}].Once.push_back(std::move(answer));
}

void FakeMxs::AnswerError(const std::string& method, const std::string& path, uint32_t errCode, unsigned status)
{
    Answer(method, path, status, R"({"ErrMsg": "Refused by the script.", "ErrCode": )" + std::to_string(errCode) + "}");
}

void FakeMxs::PlaySession(uint64_t flowRailVersion)
{
    const std::string context = "MXS/ContextManager/Context/0000000000000001";
    Answer("POST", "MXS/ContextManager/Auth/", 201, "", {{"Location", "v1.0/" + context}, {"Authorization", kToken}});
    Answer("POST", "MXS/ContextManager/Tick/", 200);
    Answer("GET", "MXS/ContextManager/Watchdog/", 200, R"({"TTL": 300})");
    Answer("GET", context, 200, R"({"LastAccess": 1})");
    Answer("DELETE", context, 200);
    Answer("GET", "MXS/", 200,
           R"({"MxsVersion": 281474976710656, "FlowRailVersion": )" + std::to_string(flowRailVersion) +
               R"(, "Initialized": true, "ProcessingStatus": {"ThreadCount": 1, "ProcessingTime": 2, "WaitTime": 3,)"
               R"( "GlobalLoad": 0.5, "MinimumWaitTime": 4, "MaximumWaitTime": 5, "MinimumProcessingTime": 6,)"
               R"( "MaximumProcessingTime": 7, "JobRate": 8, "JobCount": 9}})");
}

std::vector<FakeRequest> FakeMxs::Requests() const
{
    std::lock_guard lock(Impl->Mutex);
    return Impl->Requests;
}

std::vector<FakeRequest> FakeMxs::Requests(const std::string& method, const std::string& path) const
{
    std::lock_guard lock(Impl->Mutex);
    std::vector<FakeRequest> found;
    std::copy_if(Impl->Requests.begin(), Impl->Requests.end(), std::back_inserter(found),
                 [&](const FakeRequest& request) { return request.Method == method && request.Path == path; });
    return found;
}

size_t FakeMxs::Count(const std::string& method, const std::string& path) const
{
    return Requests(method, path).size();
}

FakeRequest FakeMxs::LastRequest(const std::string& method, const std::string& path) const
{
    const std::vector<FakeRequest> found = Requests(method, path);
    return found.empty() ? FakeRequest{} : found.back();
}

bool FakeMxs::WaitForRequests(const std::string& method, const std::string& path, size_t count,
                              std::chrono::milliseconds limit) const
{
    std::unique_lock lock(Impl->Mutex);
    return Impl->Changed.wait_for(
        lock, limit,
        [&]
        {
            return static_cast<size_t>(std::count_if(Impl->Requests.begin(), Impl->Requests.end(),
                                                     [&](const FakeRequest& request) {
                                                         return request.Method == method && request.Path == path;
                                                     })) >= count;
        });
}

void FakeMxs::ForgetRequests()
{
    std::lock_guard lock(Impl->Mutex);
    Impl->Requests.clear();
}

void FakeMxs::ForgetAnswers()
{
    std::lock_guard lock(Impl->Mutex);
    Impl->Scripts.clear();
}

size_t FakeMxs::ConnectionCount() const
{
    std::lock_guard lock(Impl->Mutex);
    return Impl->Connections.size();
}

void FakeMxs::CloseIdleConnections()
{
    Impl->CloseIdleConnections();
}

void FakeMxs::Stop()
{
    Impl->Stop();
}
