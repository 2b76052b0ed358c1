// One stream after another on one port, and all that threads may call on it at once.
#include "StreamPlace.h"

#include "Stamp.h"
#include "system/anc/AncRoad.h"

namespace test
{

namespace
{

constexpr uint32_t kLockTimeoutMs = 10;
constexpr uint32_t kAncLine = 9, kOtherAncLine = 10;

// An address that no other program uses: ports there need not be looked for.
uint32_t OwnAddress()
{
    constexpr uint32_t kFirst = 0x7F400000; // 127.64.0.0
    return kFirst | (uint32_t(::getpid()) & 0x3FFFFF);
}

// From a stream that was configured the common way.
template <class Stream, class Settings>
void Learn(Session& session, const Settings& settings, Configuration& to)
{
    Stream stream(session, ZEFA_STREAM_TYPE_RX, settings);
    ZEFA_OK(ZEFA_GetStreamCommonConfig(stream.Handle, &to.common));
    ZEFA_OK(ZEFA_GetStreamNetworkConfig(stream.Handle, to.network.get()));
    ZEFA_OK(ZEFA_GetStreamEssenceConfig(stream.Handle, &to.essence));
    to.network->Connections_X[0].DestinationIp_UL = OwnAddress();
}

} // namespace

Configuration Configuration::Video(Session& session)
{
    Configuration made{.name = "video", .firstBuffer = ZEFA_BUFFER_VIDEO_0, .buffers = 2, .ticksOfSlot = 3003};
    Learn<VideoStream>(session,
                       StreamSettings{.standard = ZEFA_VIDEO_STANDARD_720X480_I_59_94,
                                      .networkDepth = ZEFA_SDP_VIDEO_DEPTH_8,
                                      .applicationDepth = ZEFA_SDP_VIDEO_DEPTH_8,
                                      .padding = ZEFA_BIT_PADDING_NONE,
                                      .slots = 3,
                                      .lockTimeoutMs = kLockTimeoutMs,
                                      .port = FreeUdpPort()},
                       made);
    return made;
}

Configuration Configuration::Audio(Session& session)
{
    const AudioFormat format{.codec = ZEFA_SDP_AUDIO_CODEC_L16, .channels = 2, .packetsPerBuffer = 10};
    Configuration made{.name = "audio",
                       .firstBuffer = ZEFA_BUFFER_AUDIO_0,
                       .partsOfBuffer = format.packetsPerBuffer,
                       .ticksOfSlot = format.SlotFrames()};
    Learn<AudioStream>(
        session,
        AudioSettings{.format = format, .paths = {FreeEndpoint()}, .slots = 4, .lockTimeoutMs = kLockTimeoutMs}, made);
    return made;
}

Configuration Configuration::Ancillary(Session& session)
{
    Configuration made{.name = "ancillary data", .firstBuffer = ZEFA_BUFFER_ANC_0, .ticksOfSlot = 1800};
    Learn<AncStream>(session, AncSettings{.paths = {FreeEndpoint()}, .slots = 2, .lockTimeoutMs = kLockTimeoutMs},
                     made);
    return made;
}

StreamPlace::StreamPlace(const Configuration& configuration, ZEFA_STREAM_TYPE type, uint32_t number, uint16_t port)
    : Configured(configuration), Type(type), Number(number), Port(port)
{
}

void StreamPlace::Make(Tally& tally, ZEFA_HANDLE context, uint64_t conductor)
{
    ZEFA_OK(NOTED(tally, ZEFA_CreateStream, context, Type, Configured.essence.EssenceType_E, &Stream));
    PutCommon(tally, conductor); // which may be gone
    EXPECT_EQ(ZEFA_NO_ERROR, PutNetwork(tally));
    EXPECT_EQ(ZEFA_NO_ERROR, PutEssence(tally));
}

void StreamPlace::End(Tally& tally)
{
    NOTED(tally, ZEFA_StopStream, Stream); // which leaves the ring also when the service has nothing to stop
    EXPECT_EQ(ZEFA_NO_ERROR, NOTED(tally, ZEFA_CloseStream, Stream)) << Name();
    EXPECT_EQ(ZEFA_NO_ERROR, NOTED(tally, ZEFA_DestroyStream, Stream)) << Name();
    Left.clear();
}

void StreamPlace::Remake(Tally& tally, ZEFA_HANDLE context, uint64_t conductor)
{
    const std::unique_lock alone(Life, std::try_to_lock);
    if (!alone) return;
    End(tally);
    Make(tally, context, conductor);
}

void StreamPlace::Start(Tally& tally)
{
    const std::unique_lock alone(Life, std::try_to_lock);
    if (!alone) return;
    NOTED(tally, ZEFA_StartStream, Stream);
    Left.clear(); // dead with the ring of the start before
}

template <class Call>
void StreamPlace::BesideOthers(Call&& call)
{
    const std::shared_lock alive(Life, std::try_to_lock);
    if (alive) call();
}

void StreamPlace::Stop(Tally& tally)
{
    BesideOthers(
        [&]
        {
            const std::unique_lock untouched(Memory, std::try_to_lock);
            if (untouched) NOTED(tally, ZEFA_StopStream, Stream);
        });
}

void StreamPlace::Open(Tally& tally)
{
    BesideOthers([&] { NOTED(tally, ZEFA_OpenStream, Stream); });
}

void StreamPlace::Close(Tally& tally)
{
    BesideOthers([&] { NOTED(tally, ZEFA_CloseStream, Stream); });
}

void StreamPlace::SetCommon(Tally& tally, uint64_t conductor)
{
    BesideOthers([&] { PutCommon(tally, conductor); });
}

void StreamPlace::SetNetwork(Tally& tally)
{
    BesideOthers([&] { PutNetwork(tally); });
}

void StreamPlace::SetEssence(Tally& tally)
{
    BesideOthers([&] { PutEssence(tally); });
}

void StreamPlace::GetCommon(Tally& tally)
{
    BesideOthers(
        [&]
        {
            ZEFA_STREAM_COMMON_CONFIG config{};
            NOTED(tally, ZEFA_GetStreamCommonConfig, Stream, &config);
            if (config.ConductorId_ULL == 0) return; // none was there when it was made
            EXPECT_EQ(Configured.common.ApplicativeBufferQueueDepth_UL, config.ApplicativeBufferQueueDepth_UL);
        });
}

void StreamPlace::GetNetwork(Tally& tally)
{
    BesideOthers(
        [&]
        {
            const auto config = std::make_unique<ZEFA_STREAM_NETWORK_CONFIG>();
            NOTED(tally, ZEFA_GetStreamNetworkConfig, Stream, config.get());
            EXPECT_EQ(1u, config->NbConnections_UL);
            EXPECT_EQ(Port, config->Connections_X[0].DestinationPort_US);
        });
}

void StreamPlace::GetEssence(Tally& tally)
{
    BesideOthers(
        [&]
        {
            ZEFA_ESSENCE_CONFIG config{};
            NOTED(tally, ZEFA_GetStreamEssenceConfig, Stream, &config);
            EXPECT_EQ(Configured.essence.EssenceType_E, config.EssenceType_E);
        });
}

void StreamPlace::GetCommonStatus(Tally& tally)
{
    BesideOthers(
        [&]
        {
            ZEFA_STREAM_COMMON_STATUS status{};
            NOTED(tally, ZEFA_GetStreamCommonStatus, Stream, &status);
            EXPECT_GE(Configured.common.ApplicativeBufferQueueDepth_UL, status.SlotsFilled_UL);
        });
}

void StreamPlace::GetNetworkStatus(Tally& tally)
{
    BesideOthers(
        [&]
        {
            ZEFA_STREAM_NETWORK_STATUS status{};
            NOTED(tally, ZEFA_GetStreamNetworkStatus, Stream, &status);
            if (status.TotalTransferredPacketCount_ULL == 0) return; // of a stream that has not been opened yet, maybe
            EXPECT_EQ(Configured.network->PayloadType_UB, status.PayloadType_UB);
        });
}

ZEFA_ERRORCODE StreamPlace::PutCommon(Tally& tally, uint64_t conductor)
{
    ZEFA_STREAM_COMMON_CONFIG config = Configured.common;
    config.ConductorId_ULL = conductor;
    return NOTED(tally, ZEFA_SetStreamCommonConfig, Stream, &config);
}

ZEFA_ERRORCODE StreamPlace::PutNetwork(Tally& tally)
{
    const auto config = std::make_unique<ZEFA_STREAM_NETWORK_CONFIG>(*Configured.network);
    config->Connections_X[0].DestinationPort_US = Port;
    return NOTED(tally, ZEFA_SetStreamNetworkConfig, Stream, config.get());
}

ZEFA_ERRORCODE StreamPlace::PutEssence(Tally& tally)
{
    return NOTED(tally, ZEFA_SetStreamEssenceConfig, Stream, &Configured.essence);
}

void StreamPlace::Work(Tally& tally, std::mt19937& random)
{
    constexpr int kSlotsAtOnce = 4;
    const std::shared_lock alive(Life, std::try_to_lock);
    if (!alive) return;
    const std::unique_lock mine(Media, std::try_to_lock);
    if (!mine) return;
    for (int i = 0; i < kSlotsAtOnce; ++i)
    {
        LockedSlot locked{};
        const ZEFA_ERRORCODE result = NOTED(tally, ZEFA_LockSlot, Stream, &locked.slot);
        // When a stop comes between a slot of ancillary data and the list of its packets.
        EXPECT_TRUE(result != ZEFA_ERR_OPERATION_FAILED || IsAncillary()) << Name();
        if (result != ZEFA_NO_ERROR) break;
        const std::lock_guard handling(Handling);
        if (IsReceiver())
            Examine(tally, locked);
        else
            locked.number = ++Sent;
        const bool leave = Left.empty() && random() % 8 == 0;
        leave ? Left.push_back(locked) : Finish(tally, locked);
    }
    if (random() % 2 == 0) return;
    const std::lock_guard handling(Handling);
    for (const LockedSlot& locked : Left)
        Finish(tally, locked);
    Left.clear();
}

void StreamPlace::GiveBack(Tally& tally)
{
    const std::shared_lock alive(Life, std::try_to_lock);
    if (!alive) return;
    const std::unique_lock handling(Handling, std::try_to_lock);
    if (!handling || Left.empty()) return;
    const LockedSlot locked = Left.back();
    Left.pop_back();
    if (IsReceiver() && !IsAncillary())
    {
        uint8_t* address = nullptr;
        uint32_t size = 0;
        NOTED(tally, ZEFA_GetSlotBuffer, Stream, locked.slot, Configured.firstBuffer, &address, &size);
    }
    Finish(tally, locked);
}

// Fails when the stream has been stopped meanwhile: the slot is dead.
void StreamPlace::Finish(Tally& tally, const LockedSlot& locked)
{
    if (!IsReceiver()) IsAncillary() ? FillAncillary(tally, locked) : Fill(tally, locked);
    NOTED(tally, ZEFA_UnlockSlot, Stream, locked.slot);
}

void StreamPlace::Fill(Tally& tally, const LockedSlot& locked)
{
    const auto ticks = uint32_t(locked.number * Configured.ticksOfSlot);
    for (uint32_t buffer = 0; buffer < Configured.buffers; ++buffer)
    {
        const ZEFA_BUFFER_TYPE type = Configured.firstBuffer + buffer;
        const std::shared_lock touched(Memory);
        uint8_t* address = nullptr;
        uint32_t size = 0;
        if (NOTED(tally, ZEFA_GetSlotBuffer, Stream, locked.slot, type, &address, &size) != ZEFA_NO_ERROR) return;
        const size_t bytes = size / Configured.partsOfBuffer;
        for (uint32_t part = 0; part < Configured.partsOfBuffer; ++part)
            PutStamp(address + part * bytes, bytes, {Number, buffer * Configured.partsOfBuffer + part, locked.number});
    }
    const ZEFA_TIMESTAMP timestamp{0, ticks};
    NOTED(tally, ZEFA_SetSlotTimestamps, Stream, locked.slot, Configured.firstBuffer, &timestamp, 1);
}

void StreamPlace::FillAncillary(Tally& tally, const LockedSlot& locked)
{
    {
        const std::shared_lock touched(Memory);
        for (const uint32_t line : {kAncLine, kOtherAncLine})
        {
            ZEFA_ANC_PACKET* packet = nullptr;
            if (NOTED(tally, ZEFA_SlotAncAllocatePacket, Stream, locked.slot, kStampWords, &packet) != ZEFA_NO_ERROR)
                return;
            packet->DID_UB = packet->SDID_UB = 0x60;
            packet->InHANC_B = 0;
            PutStamp(packet->UserWords_pUS, {Number, 0, locked.number});
            NOTED(tally, ZEFA_SlotAncInsertPacket, Stream, locked.slot, line, ZEFA_BUFFER_ANC_0,
                  ZEFA_ANC_PACKET_INDEX_ALL, packet);
        }
        NOTED(tally, ZEFA_SlotAncRemovePacket, Stream, locked.slot, kOtherAncLine, ZEFA_BUFFER_ANC_0,
              ZEFA_ANC_PACKET_INDEX_ALL, 0);
    }
    const ZEFA_TIMESTAMP timestamp{0, uint32_t(locked.number * Configured.ticksOfSlot)};
    NOTED(tally, ZEFA_SetSlotTimestamps, Stream, locked.slot, Configured.firstBuffer, &timestamp, 1);
}

void StreamPlace::Examine(Tally& tally, const LockedSlot& locked)
{
    bool lost = false;
    if (!FindLosses(tally, locked, lost)) return;
    std::array<ZEFA_TIMESTAMP, 16> timestamps{};
    uint32_t count = timestamps.size();
    NOTED(tally, ZEFA_GetSlotTimestamps, Stream, locked.slot, Configured.firstBuffer, timestamps.data(), &count);
    EXPECT_GE(timestamps.size(), count);
    IsAncillary() ? ExamineAncillary(tally, locked) : ExamineBuffers(tally, locked, lost);
}

// Whether they could be asked for.
bool StreamPlace::FindLosses(Tally& tally, const LockedSlot& locked, bool& lost)
{
    std::array<ZEFA_LOST_DATA, 16> losses{};
    for (uint32_t buffer = 0; buffer < Configured.buffers; ++buffer)
    {
        uint32_t count = losses.size();
        if (NOTED(tally, ZEFA_GetSlotLostDataInfo, Stream, locked.slot, Configured.firstBuffer + buffer, losses.data(),
                  &count) != ZEFA_NO_ERROR)
            return false;
        lost = lost || count != 0;
    }
    return true;
}

// A packet of audio that did not come is silence, also where the sender had nothing to send. A picture of which a part
// is missing holds no stamp.
void StreamPlace::ExamineBuffers(Tally& tally, const LockedSlot& locked, bool lost)
{
    bool whole = !lost;
    for (uint32_t buffer = 0; buffer < Configured.buffers; ++buffer)
    {
        const std::shared_lock touched(Memory);
        uint8_t* address = nullptr;
        uint32_t size = 0;
        if (NOTED(tally, ZEFA_GetSlotBuffer, Stream, locked.slot, Configured.firstBuffer + buffer, &address, &size) !=
            ZEFA_NO_ERROR)
            return;
        const size_t bytes = size / Configured.partsOfBuffer;
        for (uint32_t part = 0; part < Configured.partsOfBuffer; ++part)
        {
            const std::optional<Stamp> stamp = FindStamp(address + part * bytes, bytes);
            const bool missing = Configured.partsOfBuffer > 1 ? stamp == Stamp{} : lost;
            const bool right = !missing && stamp && Follows(*stamp);
            EXPECT_TRUE(right || missing) << Name() << ", part " << part << " of buffer " << buffer;
            whole = whole && right;
        }
    }
    Whole += whole;
}

void StreamPlace::ExamineAncillary(Tally& tally, const LockedSlot& locked)
{
    const std::shared_lock touched(Memory);
    uint32_t count = 0;
    ZEFA_ANC_PACKET* packet = nullptr;
    if (NOTED(tally, ZEFA_SlotAncGetNbPackets, Stream, locked.slot, kAncLine, ZEFA_BUFFER_ANC_0, &count) !=
            ZEFA_NO_ERROR ||
        NOTED(tally, ZEFA_SlotAncGetPacket, Stream, locked.slot, kAncLine, ZEFA_BUFFER_ANC_0, 0, &packet) !=
            ZEFA_NO_ERROR)
        return;
    EXPECT_EQ(1u, count) << Name();
    const bool right = packet->DataCount_UB == kStampWords && Follows(StampOf(packet->UserWords_pUS));
    EXPECT_TRUE(right) << Name();
    Whole += right;
}

// Of this stream's sender, and behind all that came before.
bool StreamPlace::Follows(const Stamp& stamp)
{
    constexpr uint64_t kMostParts = 16;
    const uint64_t place = stamp.slot * kMostParts + stamp.part;
    if (stamp.stream != Number || stamp.part >= kMostParts || place < NextPart) return false;
    NextPart = place + 1;
    return true;
}

uint64_t StreamPlace::WholeSlots()
{
    const std::lock_guard mine(Media);
    return Whole;
}

std::string StreamPlace::Name() const
{
    return std::string(Configured.name) + " stream " + std::to_string(Number) + (IsReceiver() ? ", receive" : ", send");
}

} // namespace test
