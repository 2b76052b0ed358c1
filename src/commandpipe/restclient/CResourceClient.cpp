// How a resource client gets to know its transport.
#include "commandpipe/restclient/CResourceClient.h"

#include "commandpipe/restclient/CRestClient.h"

namespace Quillmont::Trellis::CommandPipe::RestClient
{

using namespace RestServer;

RESULT_CODE CResourceClient::Attach(IRestClient* restClient)
{
    if (!restClient) return RESULT_INVALID_ARGUMENT;
    Client = dynamic_cast<CRestClient*>(restClient);
    Initialized = true;
    return RESULT_NO_ERROR;
}

} // namespace Quillmont::Trellis::CommandPipe::RestClient
