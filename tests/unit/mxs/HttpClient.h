// A raw HTTP client over one kept connection: what is sent is what a test says.
#pragma once

#include <utility> // the next header uses std::exchange without it

#include <boost/asio.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <nlohmann/json.hpp>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace test
{

namespace asio = boost::asio;
namespace http = boost::beast::http;

struct Reply
{
    unsigned status = 0;
    std::string contentType, location, authorization, allow, connection;
    std::string body;

    nlohmann::json Json() const { return nlohmann::json::parse(body); }
    // The error record's code; 0 when there is none, so that a wrong answer shows as a number.
    uint32_t ErrCode() const
    {
        const auto json = nlohmann::json::parse(body, nullptr, false);
        return json.is_object() ? json.value("ErrCode", 0u) : 0u;
    }
    std::string ErrMsg() const { return Json().value("ErrMsg", ""); }
    std::string LocationPart(size_t place) const
    {
        std::string rest = location;
        for (; place > 0 && rest.find('/') != std::string::npos; --place)
            rest = rest.substr(rest.find('/') + 1);
        return rest.substr(0, rest.find('/'));
    }
};

class HttpClient
{
public:
    using Headers = std::vector<std::pair<std::string, std::string>>;

    explicit HttpClient(uint16_t port, bool v6 = false) : Socket(Io)
    {
        if (v6)
            Socket.connect({asio::ip::address_v6::loopback(), port});
        else
            Socket.connect({asio::ip::address_v4::loopback(), port});
        Socket.set_option(asio::ip::tcp::no_delay(true));
    }

    void SendRaw(const std::string& bytes) { asio::write(Socket, asio::buffer(bytes)); }

    Reply Receive()
    {
        http::response<http::string_body> response;
        http::read(Socket, Buffer, response);
        const auto text = [&](http::field name) { return std::string(response[name]); };
        return {response.result_int(),
                text(http::field::content_type),
                text(http::field::location),
                text(http::field::authorization),
                text(http::field::allow),
                text(http::field::connection),
                response.body()};
    }

    // Header lines as given; Host and Content-Length are added unless `headers` holds a Host.
    Reply Exchange(const std::string& method, const std::string& target, const Headers& headers,
                   const std::string& body = "")
    {
        std::string text = method + " " + target + " HTTP/1.1\r\n";
        bool hasHost = false;
        for (const auto& [name, value] : headers)
        {
            hasHost = hasHost || name == "Host";
            text += name + ": " + value + "\r\n";
        }
        if (!hasHost) text += "Host: localhost\r\n";
        if (!body.empty()) text += "Content-Type: application/json\r\n";
        text += "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
        SendRaw(text);
        return Receive();
    }

    // True when the other side has closed; waits for it.
    bool IsClosedByPeer()
    {
        char byte;
        boost::system::error_code error;
        Socket.read_some(asio::buffer(&byte, 1), error);
        return error == asio::error::eof || error == asio::error::connection_reset;
    }

private:
    asio::io_context Io;
    asio::ip::tcp::socket Socket;
    boost::beast::flat_buffer Buffer;
};

} // namespace test
