// The steps that all operations of the resource clients share.
#include "commandpipe/restclient/CExchange.h"

#include <memory>
#include <string>

#include <cpprest/asyncrt_utils.h>

namespace Quillmont::Trellis::CommandPipe::RestClient
{

using namespace RestServer;
using web::http::status_codes;

CExchange::CExchange(CRestClient* client, const Route& route) : Client(client), Way(route)
{
    Request.Path = PathStart() + route.Path;
    Request.Method = *route.Method;
}

CExchange::~CExchange()
{
    delete Request.Body; // still there only when an exception leaves between With and SendOnly
}

CExchange& CExchange::To(uint64_t id)
{
    utility::string_t text;
    CSerializer::IdentifierToString(id, &text);
    return To(text);
}

CExchange& CExchange::To(const utility::string_t& text)
{
    Request.Path += text;
    if (!HasIdentifier) Request.Path += Way.Tail;
    HasIdentifier = true;
    return *this;
}

RESULT_CODE CExchange::SendOnly()
{
    if (Way.Authorized) Client->GetJWT(&Request.Token);
    const RESULT_CODE result = Client->SendRequestAndGetResponse(Request, Response);
    CSerializer::Delete(Request.Body);
    Request.Body = nullptr;
    return result;
}

bool CExchange::HasGoodStatus() const
{
    return Response->status_code() == Way.Good || Response->status_code() == Way.AlsoGood;
}

RESULT_CODE CExchange::ServerError()
{
    return Client->GetServerError(Response);
}

RESULT_CODE CExchange::Send()
{
    const RESULT_CODE result = SendOnly();
    if (result != RESULT_NO_ERROR || HasGoodStatus()) return result;
    return ServerError();
}

std::optional<web::json::value> CExchange::Receive(RESULT_CODE* result)
{
    *result = Send();
    if (*result != RESULT_NO_ERROR || !HasGoodStatus()) return std::nullopt;
    web::json::value json;
    *result = Client->GetBody(Response, &json);
    if (*result != RESULT_NO_ERROR) return std::nullopt;
    return json;
}

RESULT_CODE CExchange::ReadList(std::vector<uint64_t>* ids)
{
    return ReadList(ids, false);
}

RESULT_CODE CExchange::ReadListStrictly(std::vector<uint64_t>* ids)
{
    return ReadList(ids, true);
}

RESULT_CODE CExchange::ReadList(std::vector<uint64_t>* ids, bool strictly)
{
    const RESULT_CODE sent = Send();
    if (sent != RESULT_NO_ERROR || !HasGoodStatus()) return sent;
    web::json::value json;
    const RESULT_CODE received = Client->GetBody(Response, &json);
    if (strictly && received != RESULT_NO_ERROR) return received;

    // A document that is none is a null here, which has no list.
    std::vector<uint64_t>* made = nullptr;
    const RESULT_CODE result = CSerializer::FromJSON(json, &made);
    std::unique_ptr<std::vector<uint64_t>> read(made); // until Delete, whose line the trace has: copying may raise
    const bool accepted = !strictly || result == RESULT_NO_ERROR;
    if (accepted) ids->clear();
    if (accepted && read) ids->assign(read->begin(), read->end());
    CSerializer::Delete(read.release());
    return accepted ? received : result;
}

RESULT_CODE CExchange::Create(uint64_t* id)
{
    const RESULT_CODE result = SendOnly();
    if (result != RESULT_NO_ERROR) return result;

    const web::http::http_headers headers = Headers();
    const auto location = headers.find(web::http::header_names::location);
    if (Status() != status_codes::Created || location == headers.end())
        return Status() == status_codes::OK ? result : ServerError(); // a 201 that names nothing is a failure
    if (const auto part = FindFifthPart(location->second)) CSerializer::IdentifierFromString(*part, id);
    return result; // also when the part is no identifier: the resource exists
}

std::optional<utility::string_t> FindFifthPart(const utility::string_t& location)
{
    // Not by a stream: one that is out of memory ends early and keeps silent.
    const std::string text = utility::conversions::to_utf8string(location);
    size_t begin = 0;
    for (int before = 0; before < 4; ++before)
    {
        begin = text.find('/', begin);
        if (begin == std::string::npos) return std::nullopt;
        ++begin;
    }
    if (begin == text.size()) return std::nullopt;
    return utility::conversions::to_string_t(text.substr(begin, text.find('/', begin) - begin));
}

} // namespace Quillmont::Trellis::CommandPipe::RestClient
