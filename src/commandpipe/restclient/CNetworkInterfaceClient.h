// The REST calls on the machine's network interfaces and their UDP port drops.
#pragma once

#include "commandpipe/restclient/CResourceClient.h"
#include "commandpipe/restclient/INetworkInterfaceClient.h"

namespace Quillmont::Trellis::CommandPipe::RestClient
{

class CNetworkInterfaceClient : public INetworkInterfaceClient, private CResourceClient
{
public:
    CNetworkInterfaceClient();
    ~CNetworkInterfaceClient() override;

    RestServer::RESULT_CODE GetList(std::vector<uint64_t>* interfaceIds) override;
    RestServer::RESULT_CODE SetConfig(uint64_t interfaceId, const RestServer::NET_IF_CONFIG& config) override;
    RestServer::RESULT_CODE GetConfig(uint64_t interfaceId, RestServer::NET_IF_CONFIG* config) override;
    RestServer::RESULT_CODE GetStatus(uint64_t interfaceId, RestServer::NET_IF_STATUS* status) override;
    RestServer::RESULT_CODE GetUdpPortDropList(uint64_t interfaceId, std::vector<uint64_t>* ports) override;
    RestServer::RESULT_CODE CreateUdpPortDrop(uint64_t interfaceId, uint16_t port) override;
    RestServer::RESULT_CODE RemoveUdpPortDrop(uint64_t interfaceId, uint16_t port) override;
    RestServer::RESULT_CODE UdpPortDropExist(uint64_t interfaceId, uint16_t port, bool* exist) override;
    RestServer::RESULT_CODE Initialize(IRestClient* restClient) override;
    RestServer::RESULT_CODE Shutdown() override;
};

} // namespace Quillmont::Trellis::CommandPipe::RestClient
