// A scripted HTTP peer in place of the service: it answers what a test has told it to, and records every request to
// the byte. It listens on 127.0.0.1 and on ::1 (where there is one) at the same free port, and needs nothing of the
// library: tests of exported functions link it beside libzefaline1.so alone.
//
//     FakeMxs service;
//     service.PlaySession();                                       // a context can be created and destroyed
//     service.Answer("GET", "MXS/CpuCore/", 200, R"({"ID": ["0000000000000007"]})");
//     service.AnswerError("PUT", "MXS/Conductor/Mines/0000000000000007/State", 5004);
//     ZEFA_CreateMXSContext(service.Url().c_str(), &context);
//     ...
//     EXPECT_EQ(service.LastRequest("PUT", "MXS/Conductor/Mines/0000000000000007/State").Body, R"({"Started":true})");
//
// A path is what stands behind "/api/x-mxs/v1.0/"; one with a leading "/" is a whole target. Of one method and path
// the answers given to AnswerOnce are played first, in their order; then the one of Answer, as often as asked. What
// has no answer gets a 404 with the error record 5008. All members may be called while requests arrive.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

using FakeHeaders = std::vector<std::pair<std::string, std::string>>;

struct FakeRequest
{
    std::string Method;
    std::string Target;          // as sent: "/api/x-mxs/v1.0/MXS/"
    std::string Path;            // the target behind "/api/x-mxs/v1.0/", or the whole target elsewhere
    std::string Head;            // every byte of the request before its body
    FakeHeaders Headers;         // in the order and spelling in which they were sent
    std::string Body;            // the body's bytes
    size_t ConnectionNumber = 0; // 0 for the first connection that was opened

    // All values that were sent under a name, whose case does not count; empty when there was none.
    std::vector<std::string> Values(const std::string& name) const;
};

struct FakeAnswer
{
    unsigned Status = 200;
    std::string Body = {};
    FakeHeaders Headers = {};                     // beside Content-Type and Content-Length
    std::string ContentType = "application/json"; // none is sent for an empty text or an empty body
    std::chrono::milliseconds Delay{0};           // before the first byte
    std::chrono::milliseconds BodyDelay{0};       // between head and body
    bool CloseAfter = false;                      // the connection ends behind this answer
    std::optional<std::string> Raw = {}; // sent in place of all that; "" with CloseAfter closes without an answer

    static FakeAnswer Bytes(std::string raw) // garbage, or an answer cut short: closes behind the bytes
    {
        FakeAnswer answer;
        answer.Raw = std::move(raw);
        answer.CloseAfter = true;
        return answer;
    }
    static FakeAnswer CloseWithoutAnswer() { return Bytes(""); }
    // Nothing comes until the fake ends or closes its connections.
    static FakeAnswer Silence()
    {
        FakeAnswer answer;
        answer.Delay = std::chrono::hours(24);
        return answer;
    }
};

class FakeMxs
{
public:
    explicit FakeMxs(uint16_t port = 0); // 0: one that is free; otherwise that of a service which has gone
    ~FakeMxs();
    FakeMxs(const FakeMxs&) = delete;
    FakeMxs& operator=(const FakeMxs&) = delete;

    uint16_t Port() const;
    std::string Url() const;     // "http://localhost:PORT/", as an application gives it
    std::string BaseUrl() const; // Url() with "api/x-mxs/" behind it

    void Answer(const std::string& method, const std::string& path, FakeAnswer answer);
    void Answer(const std::string& method, const std::string& path, unsigned status, std::string body = "",
                FakeHeaders headers = {});
    void AnswerOnce(const std::string& method, const std::string& path, FakeAnswer answer);
    // An error record with this code, under a fitting or the given status.
    void AnswerError(const std::string& method, const std::string& path, uint32_t errCode, unsigned status = 400);

    // What every session needs: authentication (context 1, token kToken), the service's status with this rail
    // version, ticks, the watchdog record and the end of the context.
    void PlaySession(uint64_t flowRailVersion = 0);
    static constexpr const char* kToken = "fake-token-0001";

    std::vector<FakeRequest> Requests() const; // in the order of their arrival
    std::vector<FakeRequest> Requests(const std::string& method, const std::string& path) const;
    size_t Count(const std::string& method, const std::string& path) const;
    // The last of this method and path; one with an empty method when there was none.
    FakeRequest LastRequest(const std::string& method, const std::string& path) const;
    // Whether so many requests have come; waits for them as long as the limit.
    bool WaitForRequests(const std::string& method, const std::string& path, size_t count,
                         std::chrono::milliseconds limit = std::chrono::seconds(10)) const;
    void ForgetRequests();
    void ForgetAnswers();

    size_t ConnectionCount() const; // ever opened
    // Closes the connections on which no request is being answered, as a service does with idle ones.
    void CloseIdleConnections();
    // Closes everything: from then on connections are refused. Idempotent, and done by the destructor.
    void Stop();

private:
    class Server;
    std::unique_ptr<Server> Impl;
};
