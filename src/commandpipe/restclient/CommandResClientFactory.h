// Makes and ends the REST client of a context, so that its owner needs the interface alone.
#pragma once

#include <cstdint>

namespace Quillmont::Trellis::CommandPipe
{

namespace RestClient
{
class IRestClient;
}

// Results are of the service's small family: 0 success, 1 failed, 5 null argument.
class CommandResClientFactory
{
public:
    static uint32_t CreateRestClient(RestClient::IRestClient** client);
    // Shuts the client down and destroys it; the pointer is dead afterwards, whatever the result.
    static uint32_t DeleteRestClient(RestClient::IRestClient* client);
};

} // namespace Quillmont::Trellis::CommandPipe
