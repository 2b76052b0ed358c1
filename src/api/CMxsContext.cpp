// A context and its REST client.
#include "api/CMxsContext.h"

#include "api/CallFrame.h"
#include "commandpipe/restclient/CommandResClientFactory.h"
#include "commandpipe/restclient/IRestClient.h"

namespace Quillmont::Trellis::Zefa
{
using CommandPipe::CommandResClientFactory;

CMxsContext::CMxsContext()
{
    CommandResClientFactory::CreateRestClient(&RestClient);
}

CMxsContext::~CMxsContext()
{
    CommandResClientFactory::DeleteRestClient(RestClient);
}

uint32_t CMxsContext::GetType() const
{
    return kTypeTag;
}

ZEFA_ERRORCODE CMxsContext::Initialize(const std::string& url)
{
    CommandPipe::RestClient::RestClientConfig config;
    config.Url = url + "api/x-mxs/";
    config.KeepAlive = true;
    return CommonRule(RestClient->Initialize(&config));
}
} // namespace Quillmont::Trellis::Zefa
