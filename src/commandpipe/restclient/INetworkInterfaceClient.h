// Network interfaces with their addresses, status and UDP port drops: rules by which an interface drops one port.
#pragma once

#include <cstdint>
#include <vector>

#include "commandpipe/restserver/Records.h"
#include "commandpipe/restserver/ResultCode.h"

namespace Quillmont::Trellis::CommandPipe::RestClient
{

class IRestClient;

// Every operation is one exchange. 5013 before Initialize, whatever the arguments; then 5004 for a null output.
class INetworkInterfaceClient
{
public:
    virtual ~INetworkInterfaceClient() = default;

    // Both lists empty the vector and refill it in the service's order; a port travels as an identifier.
    virtual RestServer::RESULT_CODE GetList(std::vector<uint64_t>* interfaceIds) = 0;
    virtual RestServer::RESULT_CODE SetConfig(uint64_t interfaceId, const RestServer::NET_IF_CONFIG& config) = 0;
    virtual RestServer::RESULT_CODE GetConfig(uint64_t interfaceId, RestServer::NET_IF_CONFIG* config) = 0;
    virtual RestServer::RESULT_CODE GetStatus(uint64_t interfaceId, RestServer::NET_IF_STATUS* status) = 0;
    virtual RestServer::RESULT_CODE GetUdpPortDropList(uint64_t interfaceId, std::vector<uint64_t>* ports) = 0;
    virtual RestServer::RESULT_CODE CreateUdpPortDrop(uint64_t interfaceId, uint16_t port) = 0;
    virtual RestServer::RESULT_CODE RemoveUdpPortDrop(uint64_t interfaceId, uint16_t port) = 0;
    // An absent rule is false together with the service's code, normally 5005. No answer: exist is untouched.
    virtual RestServer::RESULT_CODE UdpPortDropExist(uint64_t interfaceId, uint16_t port, bool* exist) = 0;
    virtual RestServer::RESULT_CODE Initialize(IRestClient* restClient) = 0;
    virtual RestServer::RESULT_CODE Shutdown() = 0;
};

} // namespace Quillmont::Trellis::CommandPipe::RestClient
