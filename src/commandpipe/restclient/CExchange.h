// One exchange of a resource client. What sets an operation apart is its route; the steps that all share are here,
// in the order in which they are traced: identifier, body, token, request, release of the body, status, answer.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "commandpipe/restclient/CRestClient.h"
#include "commandpipe/restserver/CSerializer.h"

namespace Quillmont::Trellis::CommandPipe::RestClient
{

struct Route
{
    const web::http::method* Method; // one of web::http::methods; filled at load time, hence the address
    const char* Path;                // behind "v1.0/", up to the identifier
    const char* Tail = "";           // behind the identifier
    web::http::status_code Good = web::http::status_codes::OK;
    web::http::status_code AlsoGood = Good;
    bool Authorized = true; // carries the session's token
};

class CExchange
{
public:
    CExchange(CRestClient* client, const Route& route);
    ~CExchange();
    CExchange(const CExchange&) = delete;
    CExchange& operator=(const CExchange&) = delete;

    // Puts an identifier behind the route's path, and its tail behind the first one.
    CExchange& To(uint64_t id);
    // The context's own name, which is a text: it goes into the path as the service gave it.
    CExchange& To(const utility::string_t& text);

    template <class Record, class... Arguments>
    CExchange& With(const Record& record, Arguments... arguments)
    {
        RestServer::CSerializer::ToJSON(record, &Request.Body, arguments...); // without a body the service refuses
        return *this;
    }

    // 5000: an answer came, whatever its status. Otherwise there is none to look at.
    RestServer::RESULT_CODE SendOnly();
    bool HasGoodStatus() const;
    RestServer::RESULT_CODE ServerError();

    // Those three together. A refusal whose record says 5000 gives 5000 like a good answer: where more follows, ask
    // HasGoodStatus as well.
    RestServer::RESULT_CODE Send();

    // Sends, and fills the record in place.
    template <class Record>
    RestServer::RESULT_CODE Read(Record* record)
    {
        RestServer::RESULT_CODE result = RestServer::RESULT_NO_ERROR;
        const std::optional<web::json::value> json = Receive(&result);
        return json ? RestServer::CSerializer::FromJSON(*json, &record, true) : result;
    }

    // Sends, empties the vector and refills it in the document's order. A document without a list is an empty list,
    // and so is a good answer whose document cannot be read, though the result says so.
    RestServer::RESULT_CODE ReadList(std::vector<uint64_t>* ids);
    // The same, but a document without a list fails, and leaves the vector as it was.
    RestServer::RESULT_CODE ReadListStrictly(std::vector<uint64_t>* ids);

    // Sends, and stores the identifier that a 201 names in its Location. A 200 leaves it as it was.
    RestServer::RESULT_CODE Create(uint64_t* id);

    web::http::status_code Status() const { return Response->status_code(); }
    web::http::http_headers Headers() const { return Response->headers(); }

private:
    // Sends. The document of a good answer; where there is none to read, the result says why.
    std::optional<web::json::value> Receive(RestServer::RESULT_CODE* result);
    RestServer::RESULT_CODE ReadList(std::vector<uint64_t>* ids, bool strictly);

    CRestClient* const Client;
    const Route& Way;
    RestRequest Request;
    HttpResponse Response = std::make_shared<web::http::http_response>();
    bool HasIdentifier = false;
};

// The fifth part of a Location such as "v1.0/MXS/Conductor/Mines/0000000000000001"; a "/" at the end begins none.
std::optional<utility::string_t> FindFifthPart(const utility::string_t& location);

} // namespace Quillmont::Trellis::CommandPipe::RestClient
