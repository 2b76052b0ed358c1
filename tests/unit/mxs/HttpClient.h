// A raw HTTP client over one kept connection: what is sent is what a test says.
#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace test
{

struct Reply
{
    unsigned status = 0;
    std::string contentType, location, authorization, allow, connection;
    std::string body;

    nlohmann::json Json() const;
    uint32_t ErrCode() const; // of the error record; 0 when there is none, so that a wrong answer shows as a number
    std::string ErrMsg() const;
    std::string LocationPart(size_t place) const
    {
        std::string rest = location;
        for (; place > 0 && rest.find('/') != std::string::npos; --place)
            rest = rest.substr(rest.find('/') + 1);
        return rest.substr(0, rest.find('/'));
    }
};

// Every member throws a std::exception when the connection fails it.
class HttpClient
{
public:
    using Headers = std::vector<std::pair<std::string, std::string>>;

    explicit HttpClient(uint16_t port, bool v6 = false, int receiveBuffer = 0); // 0: the system's
    ~HttpClient();

    void SendRaw(const std::string& bytes);
    Reply Receive();

    // Header lines as given; Content-Length is added, and a Host unless `headers` holds one.
    Reply Exchange(const std::string& method, const std::string& target, const Headers& headers,
                   const std::string& body = "");

    bool HasBytes() const; // that are here already
    bool IsClosedByPeer(); // waits for what comes next: true for the end, false for a byte

private:
    struct Connection; // keeps the HTTP library out of the tests, which take long to compile with it
    std::unique_ptr<Connection> Inner;
};

} // namespace test
