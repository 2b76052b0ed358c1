// The road of the README, compiled so that it stays true.
#include <cstdint>
#include <zefaline.h>

void UsePicture(const uint8_t* bytes, uint32_t size);
void Road(const char* sdp, uint64_t interfaceId, bool (*goOn)());

// begin
void Road(const char* sdp, uint64_t interfaceId, bool (*goOn)())
{
    ZEFA_STREAM_NETWORK_CONFIG network{}; // what the description does not say stays as it is here
    ZEFA_ESSENCE_CONFIG essence{};
    ZEFA_SDP_INFO info{};
    essence.Essence_X.ST2110_20_X.VideoStandard_E = ZEFA_VIDEO_STANDARD_UNKNOWN;
    ZEFA_ReadSDP(sdp, nullptr, &network, &essence, &info);
    network.Connections_X[0].NetworkInterfaceId_ULL = interfaceId; // from ZEFA_GetNetworkInterfaceHandlesList
    network.Connections_X[0].MulticastMode_E = ZEFA_MULTICAST_MODE_EXCLUSION;
    essence.Essence_X.ST2110_20_X.AppBitDepth_E = essence.Essence_X.ST2110_20_X.NetworkBitDepth_E;
    essence.Essence_X.ST2110_20_X.AppBitSampling_E = essence.Essence_X.ST2110_20_X.NetworkBitSampling_E;

    ZEFA_HANDLE context = nullptr, stream = nullptr;
    ZEFA_CreateMXSContext("http://localhost:7420/", &context);
    ZEFA_CONDUCTOR_CONFIG conductor{};
    ZEFA_GetCPUCoreFromOSId(context, 1, &conductor.CpuCoreId_ULL);
    ZEFA_STREAM_COMMON_CONFIG common{};
    common.ApplicativeBufferQueueDepth_UL = 8; // slots in the ring
    common.LockTimeoutMs_UL = 100;
    ZEFA_CreateConductor(context, 0, &common.ConductorId_ULL);
    ZEFA_SetConductorConfig(context, common.ConductorId_ULL, &conductor);
    ZEFA_StartConductor(context, common.ConductorId_ULL);

    ZEFA_CreateStream(context, ZEFA_STREAM_TYPE_RX, ZEFA_ESSENCE_TYPE_ST2110_20, &stream);
    ZEFA_SetStreamCommonConfig(stream, &common);
    ZEFA_SetStreamNetworkConfig(stream, &network);
    ZEFA_SetStreamEssenceConfig(stream, &essence);
    ZEFA_OpenStream(stream);
    ZEFA_StartStream(stream);
    while (goOn())
    {
        ZEFA_SLOT slot = nullptr;
        if (ZEFA_LockSlot(stream, &slot) != ZEFA_NO_ERROR) continue; // ZEFA_ERR_TIMEOUT: nothing came in 100 ms
        uint8_t* bytes = nullptr;
        uint32_t size = 0;
        ZEFA_GetSlotBuffer(stream, slot, ZEFA_BUFFER_VIDEO_0, &bytes, &size);
        UsePicture(bytes, size); // no copy: this is the memory that the service wrote
        ZEFA_UnlockSlot(stream, slot);
    }
    ZEFA_StopStream(stream);
    ZEFA_CloseStream(stream);
    ZEFA_DestroyStream(stream);
    ZEFA_StopConductor(context, common.ConductorId_ULL);
    ZEFA_DestroyConductor(context, common.ConductorId_ULL);
    ZEFA_DestroyMXSContext(context);
}
// end
