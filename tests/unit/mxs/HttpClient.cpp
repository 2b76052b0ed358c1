// The raw client, on blocking sockets.
#include "HttpClient.h"

#include <utility> // the next header uses std::exchange without it

#include <boost/asio.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>

namespace test
{

namespace asio = boost::asio;
namespace http = boost::beast::http;

nlohmann::json Reply::Json() const
{
    return nlohmann::json::parse(body);
}

uint32_t Reply::ErrCode() const
{
    const auto json = nlohmann::json::parse(body, nullptr, false);
    return json.is_object() ? json.value("ErrCode", 0u) : 0u;
}

std::string Reply::ErrMsg() const
{
    return Json().value("ErrMsg", "");
}

struct HttpClient::Connection
{
    asio::io_context io;
    asio::ip::tcp::socket socket{io};
    boost::beast::flat_buffer buffer;
};

HttpClient::HttpClient(uint16_t port, bool v6, int receiveBuffer) : Inner(std::make_unique<Connection>())
{
    asio::ip::tcp::endpoint service(asio::ip::address_v4::loopback(), port);
    if (v6) service.address(asio::ip::address_v6::loopback());
    Inner->socket.open(service.protocol());
    if (receiveBuffer > 0) Inner->socket.set_option(asio::socket_base::receive_buffer_size(receiveBuffer));
    Inner->socket.connect(service);
    Inner->socket.set_option(asio::ip::tcp::no_delay(true));
}

HttpClient::~HttpClient() = default;

void HttpClient::SendRaw(const std::string& bytes)
{
    asio::write(Inner->socket, asio::buffer(bytes));
}

Reply HttpClient::Receive()
{
    http::response<http::string_body> response;
    http::read(Inner->socket, Inner->buffer, response);
    const auto text = [&](http::field name) { return std::string(response[name]); };
    return {response.result_int(),
            text(http::field::content_type),
            text(http::field::location),
            text(http::field::authorization),
            text(http::field::allow),
            text(http::field::connection),
            response.body()};
}

Reply HttpClient::Exchange(const std::string& method, const std::string& target, const Headers& headers,
                           const std::string& body)
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

bool HttpClient::HasBytes() const
{
    return Inner->buffer.size() > 0 || Inner->socket.available() > 0;
}

bool HttpClient::IsClosedByPeer()
{
    char byte;
    boost::system::error_code error;
    Inner->socket.read_some(asio::buffer(&byte, 1), error);
    return error == asio::error::eof || error == asio::error::connection_reset;
}

} // namespace test
