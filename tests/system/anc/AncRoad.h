// What the tests of ancillary data share: streams of both directions made by the exported functions, and their packets.
#pragma once

#include "system/audio/AudioRoad.h"

#include <tuple>

namespace test
{

// An ancillary packet as an application sees it.
struct AncItem
{
    uint32_t buffer = 0; // 0 to 15
    uint32_t line = 9;
    bool horizontal = false;
    uint8_t did = 0x60, sdid = 0x60;
    std::vector<uint16_t> words = {}; // ten bits each

    bool operator==(const AncItem&) const = default;
};

inline std::ostream& operator<<(std::ostream& to, const AncItem& item)
{
    to << item.buffer << '/' << item.line << (item.horizontal ? "H " : "V ") << std::hex << +item.did << ' '
       << +item.sdid << ':';
    for (const uint16_t word : item.words)
        to << ' ' << word;
    return to << std::dec;
}

struct AncSlot
{
    std::vector<AncItem> items; // by buffer, line, horizontal area first
    std::vector<ZEFA_TIMESTAMP> timestamps;
    std::vector<ZEFA_LOST_DATA> losses; // of buffer 0
};

struct AncSettings
{
    int32_t standard = ZEFA_VIDEO_STANDARD_1920X1080_P_50;
    std::vector<Endpoint> paths = {};
    uint32_t slots = 8;
    uint32_t lockTimeoutMs = 5000;
    uint32_t payloadType = 100;
};

class AncStream
{
public:
    AncStream(Session& session, ZEFA_STREAM_TYPE type, const AncSettings& settings)
    {
        uint32_t samples, active, activeLines, rate;
        uint8_t interlaced, fractional;
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_GetAncSdiVideoStandardInfo(uint32_t(settings.standard), &samples, &active, &Lines,
                                                                 &activeLines, &rate, &interlaced, &fractional));
        Make(session, type, settings);
    }

    ~AncStream()
    {
        if (!Handle) return;
        if (Started)
        {
            EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_StopStream(Handle));
        }
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_CloseStream(Handle));
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_DestroyStream(Handle));
    }

    AncStream(const AncStream&) = delete;
    AncStream& operator=(const AncStream&) = delete;

    void Start()
    {
        ASSERT_EQ(ZEFA_NO_ERROR, ZEFA_StartStream(Handle));
        Started = true;
    }

    // Nothing when the lock runs out of time.
    std::optional<AncSlot> Take()
    {
        ZEFA_SLOT slot = nullptr;
        const ZEFA_ERRORCODE locked = ZEFA_LockSlot(Handle, &slot);
        EXPECT_TRUE(locked == ZEFA_NO_ERROR || locked == ZEFA_ERR_TIMEOUT) << locked;
        if (locked != ZEFA_NO_ERROR) return {};
        AncSlot taken;
        for (uint32_t buffer = 0; buffer < 16; ++buffer)
        {
            const uint32_t lines = IsEmpty(slot, buffer) ? 0 : Lines;
            for (uint32_t line = 1; line <= lines; ++line)
                TakeLine(slot, buffer, line, taken.items);
        }
        uint32_t count = 64;
        taken.timestamps.resize(count);
        EXPECT_EQ(ZEFA_NO_ERROR,
                  ZEFA_GetSlotTimestamps(Handle, slot, ZEFA_BUFFER_ANC_0, taken.timestamps.data(), &count));
        taken.timestamps.resize(count);
        taken.losses.resize(count = 64);
        EXPECT_EQ(ZEFA_NO_ERROR,
                  ZEFA_GetSlotLostDataInfo(Handle, slot, ZEFA_BUFFER_ANC_0, taken.losses.data(), &count));
        taken.losses.resize(count);
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_UnlockSlot(Handle, slot));
        return taken;
    }

    // Fills the next slot and stamps it; `second` is the time of an interlaced frame's second field.
    void Put(const std::vector<AncItem>& items, std::optional<uint32_t> timestamp = {},
             std::optional<uint32_t> second = {})
    {
        ZEFA_SLOT slot = nullptr;
        ASSERT_EQ(ZEFA_NO_ERROR, ZEFA_LockSlot(Handle, &slot));
        for (const AncItem& item : items)
        {
            ZEFA_ANC_PACKET* packet = nullptr;
            ASSERT_EQ(ZEFA_NO_ERROR, ZEFA_SlotAncAllocatePacket(Handle, slot, uint8_t(item.words.size()), &packet));
            packet->DID_UB = item.did;
            packet->SDID_UB = item.sdid;
            packet->InHANC_B = item.horizontal;
            std::copy(item.words.begin(), item.words.end(), packet->UserWords_pUS);
            ASSERT_EQ(ZEFA_NO_ERROR, ZEFA_SlotAncInsertPacket(Handle, slot, item.line, ZEFA_BUFFER_ANC_0 + item.buffer,
                                                              ZEFA_ANC_PACKET_INDEX_ALL, packet))
                << item;
        }
        std::vector<ZEFA_TIMESTAMP> times;
        if (timestamp) times.push_back({0, *timestamp});
        if (second) times.push_back({8, *second});
        ASSERT_EQ(ZEFA_NO_ERROR,
                  ZEFA_SetSlotTimestamps(Handle, slot, ZEFA_BUFFER_ANC_0, times.data(), uint32_t(times.size())));
        ASSERT_EQ(ZEFA_NO_ERROR, ZEFA_UnlockSlot(Handle, slot));
    }

    ZEFA_STREAM_NETWORK_STATUS NetworkStatus()
    {
        ZEFA_STREAM_NETWORK_STATUS status{};
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_GetStreamNetworkStatus(Handle, &status));
        return status;
    }

    ZEFA_STREAM_COMMON_STATUS CommonStatus()
    {
        ZEFA_STREAM_COMMON_STATUS status{};
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_GetStreamCommonStatus(Handle, &status));
        return status;
    }

    ZEFA_HANDLE Handle = nullptr;
    uint32_t Lines = 0; // of a frame

private:
    void Make(Session& session, ZEFA_STREAM_TYPE type, const AncSettings& settings)
    {
        ZEFA_OK(ZEFA_CreateStream(session.Context, type, ZEFA_ESSENCE_TYPE_ST2110_40, &Handle));
        ZEFA_STREAM_COMMON_CONFIG common{};
        common.ApplicativeBufferQueueDepth_UL = settings.slots;
        common.LockTimeoutMs_UL = settings.lockTimeoutMs;
        common.ConductorId_ULL = session.Conductor;
        ZEFA_OK(ZEFA_SetStreamCommonConfig(Handle, &common));

        auto network = std::make_unique<ZEFA_STREAM_NETWORK_CONFIG>();
        network->PayloadType_UB = settings.payloadType;
        network->NbConnections_UL = uint32_t(settings.paths.size());
        for (size_t i = 0; i < settings.paths.size(); ++i)
        {
            ZEFA_CONNECTION_CONFIG& path = network->Connections_X[i];
            path.DestinationIp_UL = settings.paths[i].address;
            path.DestinationPort_US = settings.paths[i].port;
            path.NetworkInterfaceId_ULL = InterfaceNamed(session.Context, "lo");
            path.MulticastMode_E = ZEFA_MULTICAST_MODE_EXCLUSION;
        }
        ZEFA_OK(ZEFA_SetStreamNetworkConfig(Handle, network.get()));

        ZEFA_ESSENCE_CONFIG essence{};
        essence.EssenceType_E = ZEFA_ESSENCE_TYPE_ST2110_40;
        essence.Essence_X.ST2110_40_X.VideoStandard_E = settings.standard;
        ZEFA_OK(ZEFA_SetStreamEssenceConfig(Handle, &essence));
        ZEFA_OK(ZEFA_OpenStream(Handle));
    }

    // The playlist says of itself that it has no line: thousands of questions less.
    bool IsEmpty(ZEFA_SLOT slot, uint32_t buffer)
    {
        uint8_t* address = nullptr;
        uint32_t size = 0, stated = 0;
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_GetSlotBuffer(Handle, slot, ZEFA_BUFFER_ANC_0 + buffer, &address, &size));
        std::memcpy(&stated, address, sizeof stated);
        return stated == 12;
    }

    void TakeLine(ZEFA_SLOT slot, uint32_t buffer, uint32_t line, std::vector<AncItem>& items)
    {
        uint32_t count = 0;
        const uint32_t type = ZEFA_BUFFER_ANC_0 + buffer;
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_SlotAncGetNbPackets(Handle, slot, line, type, &count));
        for (uint32_t i = 0; i < count; ++i)
        {
            ZEFA_ANC_PACKET* packet = nullptr;
            EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_SlotAncGetPacket(Handle, slot, line, type, int32_t(i), &packet));
            if (!packet) return;
            AncItem item{buffer, line, packet->InHANC_B != 0, packet->DID_UB, packet->SDID_UB};
            for (uint32_t word = 0; word < packet->DataCount_UB; ++word)
                item.words.push_back(packet->UserWords_pUS[word]);
            items.push_back(std::move(item));
        }
    }

    bool Started = false;
};

} // namespace test
