// Exported functions: streams. The model has translated the service's results already; what is said here is
// said about handles and slots.
#include "zefaline/stream.h"

#include "api/CMxsContext.h"
#include "api/CallFrame.h"
#include "logger/CFunctionTracer.h"
#include "stream/CStreamModel_Anc.h"

#include <string>

using namespace Quillmont::Trellis::Zefa;

// A failure cleans up nothing: a model whose stream the service refused stays, and nobody can reach it.
ZEFA_ERRORCODE ZEFA_CreateStream(ZEFA_HANDLE Context, ZEFA_STREAM_TYPE StreamType_E, ZEFA_ESSENCE_TYPE EssenceType_E,
                                 ZEFA_HANDLE* pStream)
{
    CFunctionTracer tracer("ZEFA_CreateStream");
    CMxsContext* context = HandleCast<CMxsContext>(Context);
    if (!context) return Fail(ZEFA_ERR_INVALID_HANDLE, "The MXS handle is invalid.");
    if (StreamType_E > ZEFA_STREAM_TYPE_TX) // a negative type passes, and transmits
        return Fail(ZEFA_ERR_BAD_ARGUMENT, "The stream type " + std::to_string(StreamType_E) + " is not valid.");
    if (EssenceType_E > ZEFA_ESSENCE_TYPE_ST2110_40) // a negative one passes, and the service is asked for essence 0
        return Fail(ZEFA_ERR_BAD_ARGUMENT, "The essence type " + std::to_string(EssenceType_E) + " is not valid.");

    const auto streamType = static_cast<uint32_t>(StreamType_E);
    const auto essenceType = static_cast<uint32_t>(EssenceType_E);
    CStreamModel* stream = essenceType == ZEFA_ESSENCE_TYPE_ST2110_40 // released by ZEFA_DestroyStream
                               ? new CStreamModel_Anc(context->GetRestClient(), streamType, essenceType)
                               : new CStreamModel(context->GetRestClient(), streamType, essenceType);
    if (const ZEFA_ERRORCODE error = stream->CreateStream(); error != ZEFA_NO_ERROR) return error;
    *pStream = ToHandle(stream);
    return ZEFA_NO_ERROR;
}

ZEFA_ERRORCODE ZEFA_DestroyStream(ZEFA_HANDLE Stream)
{
    CFunctionTracer tracer("ZEFA_DestroyStream");
    CStreamModel* stream = HandleCast<CStreamModel>(Stream);
    if (!stream) return Fail(ZEFA_ERR_INVALID_HANDLE, "The stream handle is invalid.");
    const ZEFA_ERRORCODE result = stream->DestroyStream();
    delete stream; // also when the service refused: the handle is dead in any case
    return result;
}

ZEFA_ERRORCODE ZEFA_OpenStream(ZEFA_HANDLE Stream)
{
    CFunctionTracer tracer("ZEFA_OpenStream");
    CStreamModel* stream = HandleCast<CStreamModel>(Stream);
    if (!stream) return Fail(ZEFA_ERR_INVALID_HANDLE, "The stream handle is invalid.");
    return stream->OpenStream();
}

ZEFA_ERRORCODE ZEFA_CloseStream(ZEFA_HANDLE Stream)
{
    CFunctionTracer tracer("ZEFA_CloseStream");
    CStreamModel* stream = HandleCast<CStreamModel>(Stream);
    if (!stream) return Fail(ZEFA_ERR_INVALID_HANDLE, "The stream handle is invalid.");
    return stream->CloseStream();
}

ZEFA_ERRORCODE ZEFA_StartStream(ZEFA_HANDLE Stream)
{
    CFunctionTracer tracer("ZEFA_StartStream");
    CStreamModel* stream = HandleCast<CStreamModel>(Stream);
    if (!stream) return Fail(ZEFA_ERR_INVALID_HANDLE, "The stream handle is invalid.");
    return stream->StartStream();
}

ZEFA_ERRORCODE ZEFA_StopStream(ZEFA_HANDLE Stream)
{
    CFunctionTracer tracer("ZEFA_StopStream");
    CStreamModel* stream = HandleCast<CStreamModel>(Stream);
    if (!stream) return Fail(ZEFA_ERR_INVALID_HANDLE, "The stream handle is invalid.");
    return stream->StopStream();
}

ZEFA_ERRORCODE ZEFA_GetStreamCommonConfig(ZEFA_HANDLE Stream, ZEFA_STREAM_COMMON_CONFIG* pConfig_X)
{
    CFunctionTracer tracer("ZEFA_GetStreamCommonConfig");
    CStreamModel* stream = HandleCast<CStreamModel>(Stream);
    if (!stream) return Fail(ZEFA_ERR_INVALID_HANDLE, "The stream handle is invalid.\r\n");
    return stream->GetCommonConfig(pConfig_X);
}

ZEFA_ERRORCODE ZEFA_SetStreamCommonConfig(ZEFA_HANDLE Stream, const ZEFA_STREAM_COMMON_CONFIG* pConfig_X)
{
    CFunctionTracer tracer("ZEFA_SetStreamCommonConfig");
    CStreamModel* stream = HandleCast<CStreamModel>(Stream);
    if (!stream) return Fail(ZEFA_ERR_INVALID_HANDLE, "The stream handle is invalid.\r\n");
    return stream->SetCommonConfig(pConfig_X);
}

ZEFA_ERRORCODE ZEFA_GetStreamNetworkConfig(ZEFA_HANDLE Stream, ZEFA_STREAM_NETWORK_CONFIG* pConfig_X)
{
    CFunctionTracer tracer("ZEFA_GetStreamNetworkConfig");
    CStreamModel* stream = HandleCast<CStreamModel>(Stream);
    if (!stream) return Fail(ZEFA_ERR_INVALID_HANDLE, "The stream handle is invalid.\r\n");
    return stream->GetNetworkConfig(pConfig_X);
}

ZEFA_ERRORCODE ZEFA_SetStreamNetworkConfig(ZEFA_HANDLE Stream, const ZEFA_STREAM_NETWORK_CONFIG* pConfig_X)
{
    CFunctionTracer tracer("ZEFA_SetStreamNetworkConfig");
    CStreamModel* stream = HandleCast<CStreamModel>(Stream);
    if (!stream) return Fail(ZEFA_ERR_INVALID_HANDLE, "The stream handle is invalid.\r\n");
    return stream->SetNetworkConfig(pConfig_X);
}

ZEFA_ERRORCODE ZEFA_GetStreamEssenceConfig(ZEFA_HANDLE Stream, ZEFA_ESSENCE_CONFIG* pConfig_X)
{
    CFunctionTracer tracer("ZEFA_GetStreamEssenceConfig");
    CStreamModel* stream = HandleCast<CStreamModel>(Stream);
    if (!stream) return Fail(ZEFA_ERR_INVALID_HANDLE, "The stream handle is invalid.\r\n");
    return stream->GetEssenceConfig(pConfig_X);
}

ZEFA_ERRORCODE ZEFA_SetStreamEssenceConfig(ZEFA_HANDLE Stream, const ZEFA_ESSENCE_CONFIG* pConfig_X)
{
    CFunctionTracer tracer("ZEFA_SetStreamEssenceConfig");
    CStreamModel* stream = HandleCast<CStreamModel>(Stream);
    if (!stream) return Fail(ZEFA_ERR_INVALID_HANDLE, "The stream handle is invalid.\r\n");
    return stream->SetEssenceConfig(pConfig_X);
}

ZEFA_ERRORCODE ZEFA_GetStreamCommonStatus(ZEFA_HANDLE Stream, ZEFA_STREAM_COMMON_STATUS* pStatus_X)
{
    CFunctionTracer tracer("ZEFA_GetStreamCommonStatus");
    CStreamModel* stream = HandleCast<CStreamModel>(Stream);
    if (!stream) return Fail(ZEFA_ERR_INVALID_HANDLE, "The stream handle is invalid.\r\n");
    return stream->GetCommonStatus(pStatus_X);
}

ZEFA_ERRORCODE ZEFA_GetStreamNetworkStatus(ZEFA_HANDLE Stream, ZEFA_STREAM_NETWORK_STATUS* pStatus_X)
{
    CFunctionTracer tracer("ZEFA_GetStreamNetworkStatus");
    CStreamModel* stream = HandleCast<CStreamModel>(Stream);
    if (!stream) return Fail(ZEFA_ERR_INVALID_HANDLE, "The stream handle is invalid.\r\n");
    return stream->GetNetworkStatus(pStatus_X);
}
