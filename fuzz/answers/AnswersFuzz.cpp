// Answers of the service, as the clients of the library take them: status, headers and body, and where a redirect
// leads. All but the HTTP library is the library's own; in the place of that library's client stands one that takes its
// answers out of the input.
//
// The input: answers, each ended by the byte 30. The first line of one is a letter that chooses what is asked, the
// status as a decimal number, and "!" where the body breaks off. Headers follow up to an empty line, then the body.
// What is asked behind a redirect takes the next answer, whose letter says nothing then. Where none is left nobody
// answers.
#include "commandpipe/restclient/CRestClient.h"
#include "commandpipe/restclient/IConductorClient.h"
#include "commandpipe/restclient/IContextManagerClient.h"
#include "commandpipe/restclient/ICpuCoreClient.h"
#include "commandpipe/restclient/INetworkInterfaceClient.h"
#include "commandpipe/restclient/IPtpApiClient.h"
#include "commandpipe/restclient/IStreamClient.h"

#include <cpprest/containerstream.h>
#include <cpprest/http_client.h>

#include <algorithm>
#include <atomic>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace Quillmont::Trellis::CommandPipe::RestClient;
using namespace Quillmont::Trellis::CommandPipe::RestServer;
using web::http::http_exception;
using web::http::http_request;
using web::http::http_response;

namespace
{

const std::string kUrl = "http://127.0.0.1:7420/api/x-mxs/";
constexpr uint64_t kId = 0x1200000000000007;

void Require(bool holds)
{
    if (!holds) std::abort();
}

std::string_view TakeUntil(std::string_view& rest, std::string_view end)
{
    const std::string_view piece = rest.substr(0, rest.find(end));
    rest.remove_prefix(std::min(piece.size() + end.size(), rest.size()));
    return piece;
}

struct Answer
{
    explicit Answer(std::string_view text)
    {
        std::string_view line = TakeUntil(text, "\n");
        if (!line.empty()) asks = static_cast<uint8_t>(line[0] - 'A');
        if (!line.empty()) line.remove_prefix(1);
        breaksOff = line.ends_with('!');
        std::from_chars(line.data(), line.data() + line.size(), status);
        while (!text.empty() && !(line = TakeUntil(text, "\n")).empty())
        {
            const std::string name(TakeUntil(line, ": "));
            headers.add(name, std::string(line));
        }
        body.assign(text.begin(), text.end());
    }

    std::optional<std::string> Header(const std::string& name) const
    {
        const auto found = headers.find(name);
        return found != headers.end() ? std::optional(found->second) : std::nullopt;
    }
    http_response Give() const
    {
        http_response response(status);
        response.headers() = headers;
        const auto message = response._get_impl();
        message->set_instream(concurrency::streams::bytestream::open_istream(body));
        message->_complete(body.size(),
                           breaksOff ? std::make_exception_ptr(http_exception("The body breaks off.")) : nullptr);
        return response;
    }

    uint8_t asks = 0;
    uint16_t status = 0;
    bool breaksOff = false;
    web::http::http_headers headers;
    std::vector<uint8_t> body;
};

struct Service
{
    std::vector<Answer> answers; // to come
    std::string token;           // that the requests of the session carry
    int asked = 0;               // by the operation at hand

    http_response Handle(const http_request& request)
    {
        const bool first = asked++ == 0;
        Require(asked <= 2); // a redirect leads no further
        if (first) Require(request.request_uri().path().starts_with("v1.0/MXS/"));
        const std::string sent = request.headers().find("Authorization")->second;
        Require(sent.empty() || sent == token);
        if (answers.empty()) throw http_exception("Nobody answers.");
        const Answer answer = answers.front();
        answers.erase(answers.begin());
        return answer.Give();
    }
};
Service Now; // of the input at hand

const std::thread::id kCaller = std::this_thread::get_id();
std::atomic<bool> WatchdogRests = false;

} // namespace

namespace web::http::client
{

http_client::http_client(const uri&, const http_client_config&) {}
http_client::~http_client() noexcept {}
pplx::task<http_response> http_client::request(http_request sent, const pplx::cancellation_token&)
{
    // The watchdog's first tick never ends, so that it changes nothing of an input.
    while (std::this_thread::get_id() != kCaller)
    {
        WatchdogRests = true;
        WatchdogRests.notify_one();
        pause();
    }
    return pplx::task_from_result(Now.Handle(sent));
}

} // namespace web::http::client

namespace
{

// For the life of the process: its end would wait for the watchdog.
CRestClient& Client()
{
    static CRestClient& client = []() -> CRestClient&
    {
        const RestClientConfig config{.Url = kUrl, .KeepAlive = true};
        auto* made = new CRestClient;
        Require(made->Initialize(&config) == RESULT_NO_ERROR);
        WatchdogRests.wait(false); // a second
        return *made;
    }();
    return client;
}

using Asking = RESULT_CODE (*)(CRestClient& client);

RESULT_CODE Authenticate(CRestClient& client)
{
    CONTEXT_IDENTITY identity;
    const uint64_t before = identity.ContextID = kId;
    const Answer answer = Now.answers.front();
    const RESULT_CODE result = client.GetContextManagerClient()->Authenticate(&identity);
    if (answer.status == 200 || answer.status == 201) Now.token = answer.Header("Authorization").value_or(Now.token);
    if (answer.status != 201) Require(identity.ContextID == before);
    return result;
}

template <class Record, class Resource>
RESULT_CODE Create(Resource& resource)
{
    Record record;
    record.ID = kId;
    const bool names = Now.answers.front().status == 201 && Now.answers.front().Header("Location");
    const RESULT_CODE result = resource.Create(&record);
    if (!names) Require(record.ID == kId);
    if (names) Require(result == RESULT_NO_ERROR);
    return result;
}

template <auto Read, class Resource, class... Ids>
RESULT_CODE ReadList(Resource& resource, Ids... ids)
{
    std::vector<uint64_t> list{kId};
    return (resource.*Read)(ids..., &list);
}

// The letter of an answer is an index into this table, from 'A' on: append, so that the corpus stays.
const Asking kAskings[] = {
    /* A */ Authenticate,
    /* B */ [](CRestClient& client) { return Create<CONDUCTOR_CREATE>(*client.GetConductorClient()); },
    /* C */ [](CRestClient& client) { return Create<STREAM_CREATE>(*client.GetStreamClient()); },
    /* D */ [](CRestClient& client) { return client.GetContextManagerClient()->TickCurrentContext(); },
    /* E */ [](CRestClient& client) { return client.GetContextManagerClient()->DeleteCurrentContext(); },
    /* F */
    [](CRestClient& client)
    {
        CONTEXT_LAST_ACCESS status;
        return client.GetContextManagerClient()->GetCurrentContextStatus(&status);
    },
    /* G */
    [](CRestClient& client) { return ReadList<&IContextManagerClient::GetList>(*client.GetContextManagerClient()); },
    /* H */ [](CRestClient& client) { return ReadList<&ICpuCoreClient::GetList>(*client.GetCpuCoreClient()); },
    /* I */
    [](CRestClient& client)
    {
        STREAM_STATE state;
        return client.GetStreamClient()->GetState(kId, &state);
    },
    /* J */ [](CRestClient& client) { return client.GetStreamClient()->SetState(kId, {}); },
    /* K */
    [](CRestClient& client)
    {
        bool exists = false;
        return client.GetNetworkInterfaceClient()->UdpPortDropExist(kId, 5004, &exists);
    },
    /* L */ [](CRestClient& client) { return client.GetNetworkInterfaceClient()->CreateUdpPortDrop(kId, 5004); },
    /* M */
    [](CRestClient& client)
    {
        PTP_STATUS status;
        return client.GetPtpApiClient()->GetStatus(&status);
    },
    /* N */
    [](CRestClient& client)
    {
        MXS_STATUS status;
        return client.GetStatus(&status);
    },
};

void Ask()
{
    const Answer answer = Now.answers.front();
    const size_t before = Now.answers.size();
    Now.asked = 0;
    try
    {
        kAskings[answer.asks % std::size(kAskings)](Client());
    }
    catch (const std::out_of_range&) // leaves the library so
    {
        Require(answer.status == 303 && answer.Header("Location").value().size() < kUrl.size());
    }
    // The name of the context goes into a path, and one that cannot stand there is never asked for.
    if (Now.answers.size() == before) Now.answers.erase(Now.answers.begin());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    CRestClient& client = Client();
    client.SetJWT("");
    client.SetContextID("");
    Now = {};
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    while (!rest.empty())
        Now.answers.emplace_back(TakeUntil(rest, "\x1e"));
    while (!Now.answers.empty())
        Ask();
    // With nobody there an operation fails, whatever came before.
    Now.answers.clear();
    Now.asked = 0;
    Require(client.GetContextManagerClient()->TickCurrentContext() == RESULT_OPERATION_FAILED);
    return 0;
}
