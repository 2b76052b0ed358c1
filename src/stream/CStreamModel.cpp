// What the four subjects of a stream (lifecycle, configuration, slots, metadata) share.
#include "stream/CStreamModel.h"

#include "commandpipe/restclient/IRestClient.h"

namespace Quillmont::Trellis::Zefa
{
using namespace Mxs::RtpEssence;

CStreamModel::CStreamModel(CommandPipe::RestClient::IRestClient* restClient, uint32_t streamType, uint32_t essenceType)
    : RestClient(restClient), StreamType(streamType), EssenceType(essenceType)
{
}

CStreamModel::~CStreamModel() = default;

uint32_t CStreamModel::GetType() const
{
    return kTypeTag;
}

CommandPipe::RestClient::IStreamClient* CStreamModel::StreamClient() const
{
    return RestClient->GetStreamClient();
}

std::unique_ptr<STATUS> CStreamModel::MakeEssenceStatus() const
{
    switch (EssenceType)
    {
    case ZEFA_ESSENCE_TYPE_ST2110_20: return std::make_unique<STATUS_ST2110_20>();
    case ZEFA_ESSENCE_TYPE_ST2110_30: return std::make_unique<STATUS_ST2110_30>();
    case ZEFA_ESSENCE_TYPE_ST2110_40: return std::make_unique<STATUS_ST2110_40>();
    default: return nullptr;
    }
}
} // namespace Quillmont::Trellis::Zefa
