// The road of a stream, from a context to slots and back.
#include "Roads.h"

#include "../support/LoopbackSocket.h"
#include "support/Rails.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <time.h>

namespace bench
{

namespace
{

constexpr uint32_t kLine = 9; // of ancillary packets
constexpr uint8_t kWords = 32;
constexpr uint32_t kLockTimeoutMs = 1000;
constexpr double kVideoHz = 90000;
constexpr double kAudioHz = 48000;

uint64_t InterfaceNamed(ZEFA_HANDLE context, const std::string& name)
{
    uint64_t ids[ZEFA_MAX_LIST_IDS];
    uint32_t count = 0;
    Require(ZEFA_GetNetworkInterfaceHandlesList(context, ids, &count), "ZEFA_GetNetworkInterfaceHandlesList");
    for (uint32_t i = 0; i < count; ++i)
    {
        ZEFA_NETWORK_INTERFACE_STATUS status{};
        Require(ZEFA_GetNetworkInterfaceStatus(context, ids[i], &status), "ZEFA_GetNetworkInterfaceStatus");
        if (name == status.SystemName_C) return ids[i];
    }
    throw std::runtime_error("no interface " + name);
}

uint64_t ConductorOn(ZEFA_HANDLE context, uint32_t osCore)
{
    ZEFA_CONDUCTOR_CONFIG config{};
    uint64_t conductor = 0;
    Require(ZEFA_GetCPUCoreFromOSId(context, osCore, &config.CpuCoreId_ULL), "ZEFA_GetCPUCoreFromOSId");
    Require(ZEFA_CreateConductor(context, 0, &conductor), "ZEFA_CreateConductor");
    Require(ZEFA_SetConductorConfig(context, conductor, &config), "ZEFA_SetConductorConfig");
    Require(ZEFA_StartConductor(context, conductor), "ZEFA_StartConductor");
    return conductor;
}

} // namespace

std::array<unsigned, 2> ConductorCores()
{
    return {std::thread::hardware_concurrency() - 1, 0};
}

void Require(ZEFA_ERRORCODE code, const char* call)
{
    if (code != ZEFA_NO_ERROR) throw std::runtime_error(std::string(call) + " gave " + std::to_string(code));
}

Format Video(ZEFA_VIDEO_STANDARD standard)
{
    uint32_t width = 0, height = 0, rate = 0;
    uint8_t interlaced = 0, fractional = 0;
    Require(ZEFA_ST2110_20_GetVideoStandardInfo(standard, &width, &height, &rate, &interlaced, &fractional),
            "ZEFA_ST2110_20_GetVideoStandardInfo");
    Format format;
    format.essence.EssenceType_E = ZEFA_ESSENCE_TYPE_ST2110_20;
    ZEFA_ST2110_20_CONFIG& video = format.essence.Essence_X.ST2110_20_X;
    video.VideoStandard_E = standard;
    video.NetworkBitDepth_E = video.AppBitDepth_E = ZEFA_SDP_VIDEO_DEPTH_10;
    video.NetworkBitSampling_E = video.AppBitSampling_E = ZEFA_SDP_VIDEO_SAMPLING_YCBCR_422;
    video.AppBitPadding_E = ZEFA_BIT_PADDING_NONE;
    video.AppEndianness_E = ZEFA_ENDIANNESS_BIG;
    video.Colorimetry_E = ZEFA_SDP_COLORIMETRY_BT709;
    video.UseDefaultTrOffset_B = 1;
    format.slotSeconds = (interlaced ? 2.0 : 1.0) * (fractional ? 1.001 : 1.0) / rate;
    format.slotTicks = kVideoHz * format.slotSeconds;
    format.bitsPerSecond = 20.0 * width * height / format.slotSeconds;
    format.datagramBytes = 1220;
    format.burst = 44;
    format.datagrams = format.bitsPerSecond / 8 / 1200;
    format.buffer = ZEFA_BUFFER_VIDEO_0;
    return format;
}

Format Audio(uint32_t channels, ZEFA_SDP_PACKET_TIME packetTime)
{
    Format format;
    format.essence.EssenceType_E = ZEFA_ESSENCE_TYPE_ST2110_30;
    ZEFA_ST2110_30_CONFIG& audio = format.essence.Essence_X.ST2110_30_X;
    audio.Encoding_E = ZEFA_SDP_AUDIO_CODEC_L24;
    audio.SamplingRate_E = ZEFA_SDP_AUDIO_RATE_48000;
    audio.ChannelNumber_UL = channels;
    audio.PacketTime_E = packetTime;
    const uint32_t perMs = packetTime == ZEFA_SDP_PACKET_TIME_125US ? 8 : 1;
    audio.NbPacketsPerBuffer_UL = 20 * perMs;
    format.datagramBytes = 12 + size_t{3} * channels * 48 / perMs;
    format.datagrams = 1000.0 * perMs;
    format.slotSeconds = 0.02;
    format.slotTicks = kAudioHz * format.slotSeconds;
    format.buffer = ZEFA_BUFFER_AUDIO_0;
    return format;
}

Format Ancillary(ZEFA_SDI_VIDEO_STANDARD standard)
{
    Format format;
    format.essence.EssenceType_E = ZEFA_ESSENCE_TYPE_ST2110_40;
    format.essence.Essence_X.ST2110_40_X.VideoStandard_E = standard;
    format.slotSeconds = Video(static_cast<ZEFA_VIDEO_STANDARD>(standard)).slotSeconds;
    format.slotTicks = kVideoHz * format.slotSeconds;
    format.datagramBytes = 80; // about
    format.datagrams = 1 / format.slotSeconds;
    format.buffer = ZEFA_BUFFER_ANC_0;
    return format;
}

// ---- a service ----

namespace
{

std::vector<std::string> WithErrorsAlone(std::vector<std::string> options)
{
    options.insert(options.end(), {"--log-level", "error"});
    return options;
}

} // namespace

Client::Client(const std::vector<std::string>& options) : Service(WithErrorsAlone(options))
{
    Require(ZEFA_CreateMXSContext(Service.ServiceUrl().c_str(), &Context), "ZEFA_CreateMXSContext");
    Loopback = InterfaceNamed(Context, "lo");
    for (size_t i = 0; i < Conductors.size(); ++i)
        Conductors[i] = ConductorOn(Context, ConductorCores()[i]);
}

Client::~Client()
{
    for (const uint64_t conductor : Conductors)
    {
        ZEFA_StopConductor(Context, conductor);
        ZEFA_DestroyConductor(Context, conductor);
    }
    ZEFA_DestroyMXSContext(Context);
}

double Client::CpuSeconds() const
{
    clockid_t clock{};
    timespec time{};
    if (clock_getcpuclockid(Service.ProcessId(), &clock) != 0 || clock_gettime(clock, &time) != 0)
        throw std::runtime_error("the service's processor time cannot be read");
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

double Client::AnonymousBytes() const
{
    std::ifstream status("/proc/" + std::to_string(Service.ProcessId()) + "/status");
    for (std::string word; status >> word;)
        if (word == "RssAnon:")
        {
            double kib = 0;
            status >> kib;
            return kib * 1024;
        }
    throw std::runtime_error("the service's memory cannot be read");
}

double Client::RingBytes() const
{
    double bytes = 0;
    for (const std::string& name : test::RailsOf(Service.ProcessId()))
        if (struct stat file{}; stat(name.c_str(), &file) == 0) bytes += 512.0 * static_cast<double>(file.st_blocks);
    return bytes;
}

// ---- an end of a stream ----

Stream::Stream(Client& client, ZEFA_STREAM_TYPE type, const Format& format, size_t conductor, uint16_t port)
    : Buffer(format.buffer)
{
    Require(ZEFA_CreateStream(client.Context, type, format.essence.EssenceType_E, &Handle), "ZEFA_CreateStream");
    try
    {
        Configure(client, format, conductor, port);
    }
    catch (...)
    {
        ZEFA_DestroyStream(Handle);
        throw;
    }
}

Stream::~Stream()
{
    if (Started) ZEFA_StopStream(Handle);
    ZEFA_CloseStream(Handle);
    ZEFA_DestroyStream(Handle);
}

void Stream::Configure(const Client& client, const Format& format, size_t conductor, uint16_t port)
{
    ZEFA_STREAM_COMMON_CONFIG common{};
    common.ApplicativeBufferQueueDepth_UL = format.slots;
    common.LockTimeoutMs_UL = kLockTimeoutMs;
    common.ConductorId_ULL = client.Conductors[conductor];
    Require(ZEFA_SetStreamCommonConfig(Handle, &common), "ZEFA_SetStreamCommonConfig");

    const auto network = std::make_unique<ZEFA_STREAM_NETWORK_CONFIG>();
    network->PayloadType_UB = 96;
    network->NbConnections_UL = 1;
    network->Connections_X[0].DestinationIp_UL = INADDR_LOOPBACK;
    network->Connections_X[0].DestinationPort_US = port;
    network->Connections_X[0].NetworkInterfaceId_ULL = client.Loopback;
    network->Connections_X[0].MulticastMode_E = ZEFA_MULTICAST_MODE_EXCLUSION;
    Require(ZEFA_SetStreamNetworkConfig(Handle, network.get()), "ZEFA_SetStreamNetworkConfig");
    Require(ZEFA_SetStreamEssenceConfig(Handle, &format.essence), "ZEFA_SetStreamEssenceConfig");
    Require(ZEFA_OpenStream(Handle), "ZEFA_OpenStream");
}

void Stream::Start()
{
    Require(ZEFA_StartStream(Handle), "ZEFA_StartStream");
    Started = true;
}

void Stream::Stop()
{
    Started = false;
    Require(ZEFA_StopStream(Handle), "ZEFA_StopStream");
}

ZEFA_STREAM_NETWORK_STATUS Stream::Status() const
{
    ZEFA_STREAM_NETWORK_STATUS status{};
    Require(ZEFA_GetStreamNetworkStatus(Handle, &status), "ZEFA_GetStreamNetworkStatus");
    return status;
}

bool Stream::Put()
{
    ZEFA_SLOT slot = nullptr;
    Filling.End();
    const ZEFA_ERRORCODE locked = ZEFA_LockSlot(Handle, &slot);
    Filling.Begin();
    if (locked != ZEFA_NO_ERROR) return false;
    if (Buffer == ZEFA_BUFFER_ANC_0) AddPacket(slot);
    return ZEFA_UnlockSlot(Handle, slot) == ZEFA_NO_ERROR;
}

bool Stream::Take(uint32_t& timestamp)
{
    ZEFA_SLOT slot = nullptr;
    if (ZEFA_LockSlot(Handle, &slot) != ZEFA_NO_ERROR) return false;
    ZEFA_TIMESTAMP record{};
    uint32_t count = 1;
    const ZEFA_ERRORCODE told = ZEFA_GetSlotTimestamps(Handle, slot, Buffer, &record, &count);
    timestamp = record.Value_UL;
    return ZEFA_UnlockSlot(Handle, slot) == ZEFA_NO_ERROR && told == ZEFA_NO_ERROR && count == 1;
}

void Stream::AddPacket(ZEFA_SLOT slot)
{
    ZEFA_ANC_PACKET* packet = nullptr;
    if (ZEFA_SlotAncAllocatePacket(Handle, slot, kWords, &packet) != ZEFA_NO_ERROR) return;
    packet->DID_UB = packet->SDID_UB = 0x60;
    std::fill_n(packet->UserWords_pUS, kWords, uint16_t{0x200});
    ZEFA_SlotAncInsertPacket(Handle, slot, kLine, Buffer, ZEFA_ANC_PACKET_INDEX_ALL, packet);
}

// ---- both ends ----

Counts Counts::operator-(const Counts& earlier) const
{
    return {lost - earlier.lost, dropped - earlier.dropped, underruns - earlier.underruns, gaps - earlier.gaps,
            taken - earlier.taken};
}

Pair::Pair(const Place& receiver, const Place& sender, const Format& format)
    : SlotTicks(format.slotTicks), Port(LoopbackSocket().Bind()),
      Receiver(receiver.client, ZEFA_STREAM_TYPE_RX, format, receiver.conductor, Port),
      Sender(sender.client, ZEFA_STREAM_TYPE_TX, format, sender.conductor, Port)
{
    Receiver.Start();
    Sender.Start();
}

Counts Pair::Count() const
{
    const ZEFA_STREAM_NETWORK_STATUS received = Receiver.Status(), sent = Sender.Status();
    return {received.LostPacketsCount_ULL + sent.LostPacketsCount_ULL, received.DropCount_ULL, sent.UnderrunCount_ULL,
            Gaps.load(), Taken.load()};
}

void Pair::Put()
{
    Sender.Put();
}

void Pair::Take()
{
    uint32_t timestamp = 0;
    if (!Receiver.Take(timestamp)) return;
    if (LatestTimestamp)
    {
        const double slots = std::round((timestamp - *LatestTimestamp) / SlotTicks);
        if (slots > 1) Gaps += static_cast<uint64_t>(slots) - 1;
    }
    LatestTimestamp = timestamp;
    ++Taken;
}

Application::Application(std::span<const std::unique_ptr<Pair>> pairs)
{
    const size_t shares = std::min<size_t>(pairs.size(), std::max(1u, std::thread::hardware_concurrency()));
    for (size_t share = 0; share < shares; ++share)
    {
        const auto ours = pairs.subspan(pairs.size() * share / shares,
                                        pairs.size() * (share + 1) / shares - pairs.size() * share / shares);
        for (void (Pair::*work)() : {&Pair::Put, &Pair::Take})
            Threads.emplace_back(
                [=](std::stop_token stopped)
                {
                    for (size_t i = 0; !stopped.stop_requested(); i = (i + 1) % ours.size())
                        (*ours[i].*work)();
                });
    }
}

Outcome Measure(std::span<const std::unique_ptr<Pair>> pairs, std::span<const Client* const> services, double seconds,
                const Format& format)
{
    const auto cpuSeconds = [&]
    {
        std::vector<double> all;
        for (const Client* service : services)
            all.push_back(service->CpuSeconds());
        return all;
    };
    const auto counts = [&]
    {
        std::vector<Counts> all;
        for (const auto& pair : pairs)
            all.push_back(pair->Count());
        return all;
    };
    const Application application(pairs);
    std::this_thread::sleep_for(std::chrono::seconds(1)); // rings fill, frames begin
    Pauses pauses;
    for (const auto& pair : pairs)
        pair->TakeLongestFillMs(); // of the first slots
    const std::vector<Counts> before = counts();
    const std::vector<double> cpuBefore = cpuSeconds();
    const auto begun = std::chrono::steady_clock::now();
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - begun;
    Outcome outcome;
    outcome.cpuSeconds = cpuSeconds();
    for (size_t i = 0; i < services.size(); ++i)
        outcome.cpuPercent += 100 * (outcome.cpuSeconds[i] -= cpuBefore[i]) / passed.count();
    const std::vector<Counts> after = counts();
    outcome.pauseMs = pauses.TakeLongestMs();
    outcome.stolenMs = pauses.StolenMs();
    outcome.processorMs = 1e3 * passed.count() * std::thread::hardware_concurrency();
    const auto due = static_cast<uint64_t>(seconds / format.slotSeconds);
    outcome.due = due * after.size();
    for (size_t i = 0; i < after.size(); ++i)
    {
        const Counts here = after[i] - before[i];
        const uint64_t stalled = here.taken + 2 * format.slots < due ? due - here.taken : 0;
        outcome.lost += here.lost;
        outcome.dropped += here.dropped;
        outcome.taken += here.taken;
        outcome.gaps += here.gaps;
        outcome.underruns += here.underruns;
        outcome.stalled += stalled;
        outcome.fillMs = std::max(outcome.fillMs, pairs[i]->TakeLongestFillMs());
        outcome.missing += std::max({here.gaps, here.underruns, stalled});
    }
    return outcome;
}

} // namespace bench
