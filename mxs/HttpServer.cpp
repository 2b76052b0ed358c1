// Asynchronous sessions on a small pool of threads: a connection costs memory and no thread, so that idle ones starve
// nobody.
#include "mxs/HttpServer.h"

#include "mxs/Documents.h"

#include <boost/asio.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>

#include <algorithm>
#include <atomic>
#include <charconv>
#include <optional>
#include <thread>
#include <vector>

namespace mxs
{

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
using tcp = asio::ip::tcp;
using ErrorCode = boost::system::error_code;

namespace
{

constexpr size_t kLingerBytes = size_t{4} * 1024 * 1024; // read and thrown away behind a refused request, at most
constexpr size_t kFirstRead = 4096;                      // of a request; most are no longer
constexpr auto kAcceptPause = std::chrono::milliseconds(100);

bool EqualsIgnoringCase(std::string_view left, std::string_view right)
{
    return beast::iequals(beast::string_view(left.data(), left.size()), beast::string_view(right.data(), right.size()));
}

std::string Text(beast::string_view view)
{
    return std::string(view.data(), view.size());
}

} // namespace

bool IsPermittedHost(std::string_view host)
{
    const size_t colon = host.find(':', host.starts_with('[') ? host.find(']') + 1 : 0);
    if (colon != std::string_view::npos)
    {
        const std::string_view port = host.substr(colon + 1);
        uint16_t number = 0;
        const auto [end, error] = std::from_chars(port.data(), port.data() + port.size(), number);
        if (error != std::errc() || end != port.data() + port.size()) return false;
        host = host.substr(0, colon);
    }
    return EqualsIgnoringCase(host, "localhost") || host == "127.0.0.1" || host == "[::1]";
}

bool IsPermitted(HttpRequest& request, size_t hostHeaders)
{
    constexpr std::string_view kAbsolute = "http://";
    const bool permitted = hostHeaders == 1 && IsPermittedHost(request.host);
    if (!request.target.starts_with(kAbsolute)) return permitted;
    const std::string target = request.target.substr(kAbsolute.size());
    const size_t path = std::min(target.find('/'), target.size());
    request.target = target.substr(path);
    return permitted && IsPermittedHost(std::string_view(target).substr(0, path));
}

HttpAnswer ErrorAnswer(const Refusal& refusal)
{
    HttpAnswer answer;
    answer.status = StatusOf(refusal.Code);
    // A text of the client's may stand in the message, and it may be no UTF-8.
    answer.body =
        ToDocument(ServerError{refusal.Message, refusal.Code}).dump(-1, ' ', false, Json::error_handler_t::replace);
    return answer;
}

struct HttpServer::State
{
    class Session;
    class Listener;

    State(const HttpLimits& limits, HttpHandler handler, const Log& log)
        : Limits(limits), Handler(std::move(handler)), Out(log), Io(std::in_place, static_cast<int>(limits.threads))
    {
    }

    const HttpLimits Limits;
    const HttpHandler Handler;
    const Log& Out;
    std::atomic<size_t> Connections = 0;
    uint16_t Port = 0;
    std::optional<asio::io_context> Io; // its end is that of sessions and listeners, which use what stands above
    std::vector<std::thread> Threads;
};

// One connection. Its operations follow each other on its strand.
class HttpServer::State::Session : public std::enable_shared_from_this<Session>
{
public:
    Session(State& server, tcp::socket socket) : Server(server), Stream(std::move(socket)) {}
    ~Session() { --Server.Connections; }

    void ReadHeader()
    {
        Parser.emplace();
        Parser->header_limit(Server.Limits.headerBytes);
        Parser->body_limit(Server.Limits.bodyBytes);
        if (Buffer.size() > 0) return ReadRestOfHeader(); // the start of it came with the request before
        Stream.expires_after(Server.Limits.idle);
        Stream.async_read_some(Buffer.prepare(kFirstRead),
                               [self = shared_from_this()](ErrorCode error, size_t got)
                               {
                                   if (error) return; // closed by the client, or idle for too long
                                   self->Buffer.commit(got);
                                   self->ReadRestOfHeader();
                               });
    }

private:
    // Who has begun is not idle any more: a byte now and then holds no connection for long.
    void ReadRestOfHeader()
    {
        Stream.expires_after(Server.Limits.body);
        http::async_read_header(Stream, Buffer, *Parser,
                                [self = shared_from_this()](ErrorCode error, size_t)
                                {
                                    if (error) return self->ReadFailed(error);
                                    self->ReadBody();
                                });
    }

    void ReadBody()
    {
        Stream.expires_after(Server.Limits.body);
        const auto& header = Parser->get();
        if (!Parser->is_done() && EqualsIgnoringCase(Text(header[http::field::expect]), "100-continue"))
        {
            static constexpr std::string_view kContinue = "HTTP/1.1 100 Continue\r\n\r\n";
            asio::async_write(Stream, asio::buffer(kContinue),
                              [self = shared_from_this()](ErrorCode error, size_t)
                              {
                                  if (!error) self->ReadRest();
                              });
            return;
        }
        ReadRest();
    }

    void ReadRest()
    {
        http::async_read(Stream, Buffer, *Parser,
                         [self = shared_from_this()](ErrorCode error, size_t)
                         {
                             if (error) return self->ReadFailed(error);
                             self->Answer();
                         });
    }

    void Answer()
    {
        const auto& message = Parser->get();
        HttpRequest request{Text(message.method_string()), Text(message.target()), Text(message[http::field::host]),
                            Text(message[http::field::authorization]), std::move(Parser->get().body())};
        const bool permitted = IsPermitted(request, message.count(http::field::host));
        const bool keep = message.keep_alive();
        if (message.count(http::field::origin) > 0) // sent by browsers alone, for pages that have no business here
        {
            Server.Out.Warning("A request of a web page is refused.");
            return Write(ErrorAnswer({kNotPermitted, "Web pages are not served; see the Origin header."}), keep, false);
        }
        if (permitted) return Write(Server.Handler(request), keep, false);
        Server.Out.Warning("A request with the Host \"" + request.host + "\" is refused.");
        Write(ErrorAnswer({kNotPermitted, "Only localhost, 127.0.0.1 and [::1] are served; see the Host header."}),
              keep, false);
    }

    void ReadFailed(ErrorCode error)
    {
        if (error == http::error::end_of_stream || error == beast::error::timeout ||
            error.category() != http::make_error_code(http::error::end_of_stream).category())
            return; // closed by the client, or idle for too long
        HttpAnswer answer = ErrorAnswer({kInvalidArgument, "The request is malformed: " + error.message() + "."});
        if (error == http::error::body_limit) answer.status = 413;
        if (error == http::error::header_limit) answer.status = 431;
        Server.Out.Warning("A malformed request is refused: " + error.message() + ".");
        Write(std::move(answer), false, true);
    }

    void Write(HttpAnswer answer, bool keep, bool linger)
    {
        Response = {};
        Response.version(11);
        Response.result(answer.status);
        Response.set(http::field::server, "mxsd");
        Response.set(http::field::content_type, "application/json");
        Response.set(http::field::cache_control, "no-store");
        if (!answer.location.empty()) Response.set(http::field::location, answer.location);
        if (!answer.authorization.empty()) Response.set(http::field::authorization, answer.authorization);
        if (!answer.allow.empty()) Response.set(http::field::allow, answer.allow);
        Response.keep_alive(keep);
        const bool isHead = Parser && Parser->is_header_done() && Parser->get().method() == http::verb::head;
        if (!isHead) Response.body() = std::move(answer.body);
        Response.prepare_payload();
        Stream.expires_after(Server.Limits.body);
        http::async_write(Stream, Response,
                          [self = shared_from_this(), linger](ErrorCode error, size_t)
                          {
                              if (error) return;
                              if (self->Response.keep_alive()) return self->ReadHeader();
                              ErrorCode ignored;
                              self->Stream.socket().shutdown(tcp::socket::shutdown_send, ignored);
                              // A close with unread bytes would reset the connection and could take the answer back.
                              if (linger) self->Drain(0);
                          });
    }

    void Drain(size_t drained)
    {
        Buffer.clear();
        Stream.async_read_some(Buffer.prepare(size_t{16} * 1024),
                               [self = shared_from_this(), drained](ErrorCode error, size_t got)
                               {
                                   if (!error && drained + got < kLingerBytes) self->Drain(drained + got);
                               });
    }

    State& Server;
    beast::tcp_stream Stream;
    beast::flat_buffer Buffer;
    std::optional<http::request_parser<http::string_body>> Parser;
    http::response<http::string_body> Response;
};

class HttpServer::State::Listener : public std::enable_shared_from_this<Listener>
{
public:
    explicit Listener(State& server)
        : Server(server), Acceptor(asio::make_strand(*server.Io)), Pause(Acceptor.get_executor())
    {
    }

    void Listen(const tcp::endpoint& endpoint)
    {
        Acceptor.open(endpoint.protocol());
        if (endpoint.protocol() == tcp::v6()) Acceptor.set_option(asio::ip::v6_only(true));
        Acceptor.set_option(asio::socket_base::reuse_address(true));
        Acceptor.bind(endpoint);
        Acceptor.listen();
    }

    uint16_t Port() const { return Acceptor.local_endpoint().port(); }

    void Accept()
    {
        Acceptor.async_accept(asio::make_strand(*Server.Io),
                              [self = shared_from_this()](ErrorCode error, tcp::socket socket)
                              { self->Accepted(error, std::move(socket)); });
    }

private:
    void Accepted(ErrorCode error, tcp::socket socket)
    {
        if (error)
        {
            Server.Out.Error("A connection could not be accepted: " + error.message() + ".");
            // Out of descriptors, most likely: the next try would fail at once.
            Pause.expires_after(kAcceptPause);
            Pause.async_wait(
                [self = shared_from_this()](ErrorCode cancelled)
                {
                    if (!cancelled) self->Accept();
                });
            return;
        }
        Accept();
        if (Server.Connections >= Server.Limits.connections)
        {
            Server.Out.Warning("A connection is refused: there are " + std::to_string(Server.Limits.connections) +
                               " already.");
            return;
        }
        ErrorCode ignored;
        socket.set_option(tcp::no_delay(true), ignored);
        ++Server.Connections;
        const auto executor = socket.get_executor();
        auto session = std::make_shared<Session>(Server, std::move(socket));
        asio::dispatch(executor, [session = std::move(session)] { session->ReadHeader(); });
    }

    State& Server;
    tcp::acceptor Acceptor;
    asio::steady_timer Pause;
};

HttpServer::HttpServer(const HttpLimits& limits, HttpHandler handler, const Log& log)
    : Inner(std::make_unique<State>(limits, std::move(handler), log))
{
}

HttpServer::~HttpServer()
{
    Stop();
}

void HttpServer::Start(uint16_t port)
{
    constexpr int kTries = 16; // a free port of one family may be taken in the other
    for (int attempt = 1;; ++attempt)
    {
        auto listener = std::make_shared<State::Listener>(*Inner);
        listener->Listen({asio::ip::address_v4::loopback(), port});
        auto second = std::make_shared<State::Listener>(*Inner);
        try
        {
            second->Listen({asio::ip::address_v6::loopback(), listener->Port()});
        }
        catch (const boost::system::system_error& error)
        {
            if (error.code() == asio::error::address_in_use)
            {
                if (port == 0 && attempt < kTries) continue;
                throw;
            }
            Inner->Out.Warning("There is no IPv6 here; listening on 127.0.0.1 alone: " + error.code().message() + ".");
            second.reset();
        }
        Inner->Port = listener->Port();
        listener->Accept();
        if (second) second->Accept();
        break;
    }
    for (unsigned count = 0; count < Inner->Limits.threads; ++count)
        Inner->Threads.emplace_back(
            [this]
            {
                for (;;)
                    try
                    {
                        Inner->Io->run();
                        return;
                    }
                    catch (const std::exception& error) // out of memory in a session, which ends with it
                    {
                        Inner->Out.Error(std::string("A connection ends with an error: ") + error.what() + ".");
                    }
            });
}

void HttpServer::Stop()
{
    if (!Inner->Io) return;
    Inner->Io->stop();
    for (std::thread& thread : Inner->Threads)
        thread.join();
    Inner->Threads.clear();
    Inner->Io.reset(); // closes what is open
}

uint16_t HttpServer::Port() const
{
    return Inner->Port;
}

} // namespace mxs
