// The lifecycle of a stream: create, open, start, stop, close, destroy. The result of the service is translated by
// each operation in its own way.
#include "stream/CStreamModel.h"

#include <algorithm>
#include <string>
#include <utility>

#include "commandpipe/restclient/IRestClient.h"
#include "commandpipe/restclient/IStreamClient.h"
#include "logger/CFunctionTracer.h"
#include "logger/Log.h"
#include "stream/RailResults.h"

namespace Quillmont::Trellis::Zefa
{
using namespace CommandPipe::RestServer;
using namespace Mxs::RtpEssence;
using Logger::kPriorityError;
using Logger::Log;

namespace
{
uint32_t BufferTypeOf(uint32_t essenceType, uint32_t key)
{
    switch (essenceType)
    {
    case ZEFA_ESSENCE_TYPE_ST2110_20: return key == 0 ? ZEFA_BUFFER_VIDEO_0 : ZEFA_BUFFER_VIDEO_1;
    case ZEFA_ESSENCE_TYPE_ST2110_30: return key == 0 ? ZEFA_BUFFER_AUDIO_0 : ZEFA_BUFFER_AUDIO_1;
    default: return key <= 15 ? ZEFA_BUFFER_ANC_0 + key : ZEFA_BUFFER_ANC_OTHER;
    }
}

ZEFA_ERRORCODE TranslateOpenStream(RESULT_CODE result)
{
    switch (result)
    {
    case RESULT_NOT_INITIALIZED:
    case CORE_RESULT_INVALID_OPERATION:
    case CORE_RESULT_RESOURCE_UNAVAILABLE: return ZEFA_ERR_INCORRECT_STATE;
    default: return result > RESULT_NO_ERROR ? ZEFA_ERR_COMMUNICATION : ZEFA_ERR_OPERATION_FAILED;
    }
}

// Of the two reads at the begin of StartStream.
ZEFA_ERRORCODE TranslateStartRead(RESULT_CODE result)
{
    switch (result)
    {
    case RESULT_NO_ERROR: return ZEFA_NO_ERROR;
    case RESULT_NOT_INITIALIZED:
    case CORE_RESULT_INVALID_OPERATION:
    case CORE_RESULT_RESOURCE_UNAVAILABLE: return ZEFA_ERR_INCORRECT_STATE;
    default: return result > RESULT_NO_ERROR ? ZEFA_ERR_COMMUNICATION : ZEFA_ERR_OPERATION_FAILED;
    }
}

ZEFA_ERRORCODE TranslateStartState(RESULT_CODE result)
{
    switch (result)
    {
    case RESULT_NOT_INITIALIZED:
    case CORE_RESULT_INVALID_OPERATION:
    case CORE_RESULT_RESOURCE_UNAVAILABLE: return ZEFA_ERR_INCORRECT_STATE;
    case CORE_RESULT_INCORRECT_CONFIGURATION: return ZEFA_ERR_BAD_ARGUMENT;
    default: return result > RESULT_NO_ERROR ? ZEFA_ERR_COMMUNICATION : ZEFA_ERR_OPERATION_FAILED;
    }
}

ZEFA_ERRORCODE TranslateStopState(RESULT_CODE result)
{
    if (result == RESULT_NOT_INITIALIZED) return ZEFA_ERR_INCORRECT_STATE;
    return result > RESULT_NO_ERROR ? ZEFA_ERR_COMMUNICATION : ZEFA_ERR_OPERATION_FAILED;
}

ZEFA_ERRORCODE TranslateCloseRail(uint32_t railResult)
{
    return railResult == FLOW_RAIL_BAD_STATE ? ZEFA_ERR_INCORRECT_STATE : ZEFA_ERR_OPERATION_FAILED;
}
} // namespace

ZEFA_ERRORCODE CStreamModel::CreateStream()
{
    CFunctionTracer tracer("Quillmont::Trellis::Zefa::CStreamModel::CreateStream");
    if (Created)
    {
        Log(kPriorityError, "The stream is already created .\r\n");
        return ZEFA_ERR_OPERATION_FAILED;
    }

    STREAM_CREATE stream;
    stream.Type = IsTransmit() ? STREAM_TYPE_TX : STREAM_TYPE_RX;
    stream.Essence = EssenceType <= ZEFA_ESSENCE_TYPE_ST2110_40 ? EssenceType + 1 : ESSENCE_TYPE_RESERVED;
    stream.Shared = false;
    switch (StreamClient()->Create(&stream))
    {
    case RESULT_NO_ERROR:
        StreamId = stream.ID;
        Created = true;
        return ZEFA_NO_ERROR;
    // The reverse of what the other operations make of these two, on purpose: without a session nothing can be
    // created, and whatever else the service refuses is a matter of its state.
    case RESULT_NOT_INITIALIZED: return ZEFA_ERR_COMMUNICATION;
    default: return ZEFA_ERR_INCORRECT_STATE;
    }
}

ZEFA_ERRORCODE CStreamModel::DestroyStream()
{
    CFunctionTracer tracer("Quillmont::Trellis::Zefa::CStreamModel::DestroyStream");
    if (!Created)
    {
        Log(kPriorityError, "The stream is not created yet.\r\n");
        return ZEFA_ERR_OPERATION_FAILED;
    }

    const RESULT_CODE result = StreamClient()->Delete(StreamId);
    Created = false; // whatever the service said
    switch (result)
    {
    case RESULT_NO_ERROR: return ZEFA_NO_ERROR;
    case RESULT_NOT_INITIALIZED: return ZEFA_ERR_COMMUNICATION;
    default: return ZEFA_ERR_INCORRECT_STATE;
    }
}

ZEFA_ERRORCODE CStreamModel::OpenStream()
{
    CFunctionTracer tracer("Quillmont::Trellis::Zefa::CStreamModel::OpenStream");
    const RESULT_CODE result = StreamClient()->SetState(StreamId, STREAM_STATE{.Started = false, .Opened = true});
    if (result == RESULT_NO_ERROR) return ZEFA_NO_ERROR;
    Log(kPriorityError, "Could not open the stream: " + std::to_string(result));
    return TranslateOpenStream(result);
}

ZEFA_ERRORCODE CStreamModel::CloseStream()
{
    CFunctionTracer tracer("Quillmont::Trellis::Zefa::CStreamModel::CloseStream");
    const RESULT_CODE result = StreamClient()->SetState(StreamId, STREAM_STATE{.Started = false, .Opened = false});
    if (result == RESULT_NO_ERROR) return ZEFA_NO_ERROR;
    if (result == RESULT_NOT_INITIALIZED) return ZEFA_ERR_INCORRECT_STATE;
    return result < RESULT_OPERATION_FAILED ? ZEFA_ERR_OPERATION_FAILED : ZEFA_ERR_COMMUNICATION;
}

ZEFA_ERRORCODE CStreamModel::StartStream()
{
    CFunctionTracer tracer("Quillmont::Trellis::Zefa::CStreamModel::StartStream");
    const std::unique_ptr<STATUS> essenceStatus = MakeEssenceStatus();
    STREAM_COMMON_CONFIG config;
    STREAM_COMMON_STATUS commonStatus;

    RESULT_CODE result = StreamClient()->GetEssenceStatus(StreamId, essenceStatus.get());
    if (result != RESULT_NO_ERROR || !essenceStatus)
    {
        Log(kPriorityError, "Could not get the stream essence status" + std::to_string(result));
        return TranslateStartRead(result);
    }

    // A failure here does not stop the start: the ring's depth sizes the pools, of metadata and of ancillary data,
    // which stay empty then, and counts in the status of a stream that sends. Its code is returned only if there is no
    // rail to attach to either.
    result = StreamClient()->GetCommonConfig(StreamId, &config);
    ZEFA_ERRORCODE status = TranslateStartRead(result);
    if (result != RESULT_NO_ERROR)
    {
        Log(kPriorityError, "Could not get the common stream config" + std::to_string(result));
        config = {};
    }

    TakeBuffers(essenceStatus->BufferInfo);
    LockSize = static_cast<uint32_t>(essenceStatus->LockSize);
    SlotCount = config.ApplicativeBufferQueueDepth;

    result = StreamClient()->SetState(StreamId, STREAM_STATE{.Started = true, .Opened = true});
    if (result != RESULT_NO_ERROR)
    {
        Log(kPriorityError, "The stream could not be started" + std::to_string(result));
        return TranslateStartState(result);
    }

    result = StreamClient()->GetCommonStatus(StreamId, &commonStatus);
    if (result == RESULT_NO_ERROR)
    {
        Descriptor.Type = commonStatus.FlowRailDescriptor.Type;
        Descriptor.Description = std::move(commonStatus.FlowRailDescriptor.Description);
        status = AttachFlowRail();
        if (status != ZEFA_NO_ERROR) return status;
    }
    else // success all the same, without a rail: the first lock says that the state is incorrect
    {
        Log(kPriorityError, "Could not get the stream common status" + std::to_string(result));
    }

    FirstLockDone = false; // of the new rail, even when there is no memory for the pools
    if (status == ZEFA_NO_ERROR) GrowPools();
    return status;
}

// Several keys may fall on one type; the last of them, in the order of the keys, wins. Entries of an earlier start
// stay where this one has none.
void CStreamModel::TakeBuffers(const std::map<uint32_t, BUFFER_INFO>& bufferInfo)
{
    for (const auto& [key, buffer] : bufferInfo)
        Buffers[BufferTypeOf(EssenceType, key)] = buffer;
}

// A failure leaves FlowRail as far as it came: to an object that is not open or has no consumer.
ZEFA_ERRORCODE CStreamModel::AttachFlowRail()
{
    const std::lock_guard lock(Mutex);
    // A start upon a start: the rail of the first would stay attached for ever, a consumer that never reads and that
    // the producer waits for.
    delete std::exchange(FlowRail, nullptr);
    FlowRail = CFlowRailFactory::CreateInstance(FLOW_RAIL_TYPE_FILE_MAP); // whatever the descriptor says
    if (!FlowRail)
    {
        Log(kPriorityError, "The flow rail could not be created");
        return ZEFA_ERR_OPERATION_FAILED;
    }
    if (const uint32_t railResult = FlowRail->Open(&Descriptor); railResult != FLOW_RAIL_OK)
    {
        Log(kPriorityError, "The flow rail could not be opened. Error " + std::to_string(railResult) + " .\r\n");
        return ZEFA_ERR_OPERATION_FAILED;
    }
    if (IsTransmit()) return ZEFA_NO_ERROR;
    if (const uint32_t railResult = FlowRail->AddConsumer(&Consumer); railResult != FLOW_RAIL_OK)
    {
        Log(kPriorityError,
            "A consumer could not be added to the flow rail. Error " + std::to_string(railResult) + " .\r\n");
        return ZEFA_ERR_OPERATION_FAILED;
    }
    return ZEFA_NO_ERROR;
}

void CStreamModel::GrowPools()
{
    const size_t oldSize = std::min(TimestampPool.size(), kMostPoolElements);
    const size_t newSize = std::min(oldSize + SlotCount, kMostPoolElements);
    TimestampCache.Reserve(newSize);
    LostDataCache.Reserve(newSize);
    for (size_t element = oldSize; element < newSize; ++element)
    {
        TimestampPool.emplace_back().reserve(kRecordsReserved);
        TimestampRecordPool.emplace_back().reserve(kRecordsReserved);
        TimestampCache.AddElement();
        LostDataPool.emplace_back().reserve(kRecordsReserved);
        LostDataRecordPool.emplace_back().reserve(kRecordsReserved);
        LostDataCache.AddElement();
    }
}

ZEFA_ERRORCODE CStreamModel::StopStream()
{
    CFunctionTracer tracer("Quillmont::Trellis::Zefa::CStreamModel::StopStream");
    ZEFA_ERRORCODE status = ZEFA_NO_ERROR; // a later failure replaces an earlier one
    const RESULT_CODE result = StreamClient()->SetState(StreamId, STREAM_STATE{.Started = false, .Opened = true});
    if (result != RESULT_NO_ERROR)
    {
        Log(kPriorityError, "The stream could not be stopped. Server error " + std::to_string(result));
        status = TranslateStopState(result);
    }

    const std::lock_guard lock(Mutex);
    if (!FlowRail) return status;
    if (!IsTransmit())
    {
        if (const uint32_t railResult = FlowRail->RemoveConsumer(&Consumer); railResult != FLOW_RAIL_OK)
        {
            // "to" and the missing line end are what log filters know.
            Log(kPriorityError,
                "A consumer could not be removed to the flow rail. Error " + std::to_string(railResult));
            status = TranslateRail(railResult);
        }
    }
    if (const uint32_t railResult = FlowRail->Close(); railResult != FLOW_RAIL_OK)
    {
        Log(kPriorityError, "The flow rail could not be closed. Error " + std::to_string(railResult));
        return TranslateCloseRail(railResult); // the rail stays: a later stop tries again
    }
    delete std::exchange(FlowRail, nullptr);
    return status;
}
} // namespace Quillmont::Trellis::Zefa
