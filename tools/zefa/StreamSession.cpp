// Making of streams.
#include "StreamSession.h"

#include "Failure.h"
#include "Files.h"
#include "Reading.h"
#include "Words.h"

namespace zefa
{
namespace
{
constexpr uint32_t kLockTimeoutMs = 200; // how late an interrupt may be seen

std::string MediaList(const SdpScan& scan)
{
    std::string list;
    for (size_t i = 0; i < scan.Medias.size(); ++i)
        list += (i == 0 ? "" : ", ") + std::to_string(i) + " " + std::string(scan.Medias[i].Kind()) + " " +
                std::string(scan.Medias[i].Encoding());
    return list;
}

// The description of one stream, with the line numbers of the file.
std::string OneStream(const std::string& text, const std::string& file, const Arguments& arguments)
{
    const SdpScan scan(text);
    if (const auto media = arguments.FindNumber("--media", 0, 1000000))
    {
        if (*media >= scan.Medias.size())
            throw Failure(kUsage,
                          file + " has no media " + std::to_string(*media) + "; there are: " + MediaList(scan) + ".");
        return scan.Cut(*media);
    }
    if (scan.Medias.size() > 1 && scan.PathsWith(0).size() < scan.Medias.size())
        throw Failure(kUsage, file + " holds media that are not paths of one stream; choose one with --media: " +
                                  MediaList(scan) + ".");
    return text;
}

[[noreturn]] void Missing(const std::string& file, const char* what)
{
    throw Failure(kComplaints, file + " does not say " + what + " in words that the library takes; zefa sdp check " +
                                   file + " tells more.");
}

std::optional<ZEFA_VIDEO_STANDARD> StandardOption(const Arguments& arguments)
{
    const auto text = arguments.Find("--standard");
    return text ? std::optional(StandardOf(*text, "--standard")) : std::nullopt;
}

void CompleteVideo(ZEFA_ST2110_20_CONFIG& video, const Arguments& arguments, const std::string& file)
{
    if (!WordOf(kSamplings, video.NetworkBitSampling_E)) Missing(file, "the sampling");
    if (!WordOf(kDepths, video.NetworkBitDepth_E)) Missing(file, "the depth");
    video.VideoStandard_E = StandardOption(arguments).value_or(video.VideoStandard_E);
    if (!RasterOf(video.VideoStandard_E))
        throw Failure(kUsage, file + " leads to no video standard; choose it with --standard (zefa sdp check " + file +
                                  " may name it).");
    video.AppBitDepth_E = video.NetworkBitDepth_E;
    if (const auto depth = arguments.Find("--depth")) video.AppBitDepth_E = ValueOf(kDepths, *depth, "--depth");
    video.AppBitSampling_E = video.NetworkBitSampling_E;
    video.AppBitPadding_E = ValueOf(kPaddings, arguments.Text("--padding", "none"), "--padding");
    video.AppEndianness_E = ValueOf(kByteOrders, arguments.Text("--endianness", "big"), "--endianness");
}

void CompleteAudio(ZEFA_ST2110_30_CONFIG& audio, const Arguments& arguments, const std::string& file)
{
    if (!WordOf(kAudioCodecs, audio.Encoding_E)) Missing(file, "the coding");
    if (!WordOf(kPacketTimes, audio.PacketTime_E)) Missing(file, "the packet time");
    if (!WordOf(kAudioRates, audio.SamplingRate_E)) Missing(file, "the rate");
    const uint64_t tenMilliseconds = audio.PacketTime_E == ZEFA_SDP_PACKET_TIME_1MS ? 10 : 80;
    audio.NbPacketsPerBuffer_UL =
        static_cast<uint32_t>(arguments.Number("--packets-per-slot", 1, 1000000, tenMilliseconds));
}

void CompleteAnc(ZEFA_ST2110_40_CONFIG& anc, const Arguments& arguments)
{
    const auto standard = StandardOption(arguments);
    if (!standard) throw Failure(kUsage, "A description of ancillary data says no raster: choose it with --standard.");
    anc.VideoStandard_E = static_cast<uint32_t>(*standard);
}

// The interface that the option names for a path, or the one whose network the destination belongs to.
Interface InterfaceFor(const Session& session, const std::vector<std::string>& names, uint32_t path,
                       uint32_t destination)
{
    if (!names.empty()) return session.InterfaceNamed(names[std::min<size_t>(path, names.size() - 1)]);
    for (const Interface& each : session.Interfaces())
        if (each.Config.IP_UL != 0 &&
            (each.Config.IP_UL & each.Config.SubnetMask_UL) == (destination & each.Config.SubnetMask_UL))
            return each;
    throw Failure(kUsage, "No interface belongs to the network of " + AddressText(destination) +
                              "; choose one with --interface.");
}

void CompletePaths(const Session& session, const Arguments& arguments, ZEFA_STREAM_NETWORK_CONFIG& network)
{
    const std::vector<std::string> names = arguments.All("--interface");
    for (uint32_t i = 0; i < network.NbConnections_UL; ++i)
    {
        ZEFA_CONNECTION_CONFIG& path = network.Connections_X[i];
        const Interface interface = InterfaceFor(session, names, i, path.DestinationIp_UL);
        path.NetworkInterfaceId_ULL = interface.Id;
        path.MulticastMode_E = ZEFA_MULTICAST_MODE_EXCLUSION;                 // any source
        if (path.SourceIp_UL != interface.Config.IP_UL) path.SourceIp_UL = 0; // that of another machine is no use here
    }
}

uint64_t CoreFor(const Session& session, const Arguments& arguments)
{
    const std::vector<Core> cores = session.Cores();
    const auto wanted = arguments.FindNumber("--core", 0, UINT32_MAX);
    uint64_t second = 0;
    for (const Core& core : cores)
    {
        if (wanted ? core.Status.CoreId_UL == *wanted
                   : core.Status.ConductorAvailability_E == ZEFA_CONDUCTOR_AVAILABILITY_AVAILABLE)
            return core.Id;
        if (core.Status.ConductorAvailability_E == ZEFA_CONDUCTOR_AVAILABILITY_ALREADY_USED) second = core.Id;
    }
    if (wanted) throw Failure(kUsage, "There is no core " + std::to_string(*wanted) + ".");
    if (second == 0) throw Failure(kRefused, "The service gives no core to a conductor.");
    return second;
}
} // namespace

Description StreamDescription(const Arguments& arguments)
{
    const std::string& file = arguments.Operands[0];
    Description description = ReadOrFail(OneStream(ReadFile(file), file, arguments), file).Result.Fields;
    switch (description.Essence.EssenceType_E)
    {
    case ZEFA_ESSENCE_TYPE_ST2110_20: CompleteVideo(description.Video(), arguments, file); break;
    case ZEFA_ESSENCE_TYPE_ST2110_30: CompleteAudio(description.Audio(), arguments, file); break;
    default: CompleteAnc(description.Anc(), arguments); break;
    }
    return description;
}

std::vector<ZEFA_BUFFER_TYPE> BuffersOf(const Description& description)
{
    if (description.Essence.EssenceType_E == ZEFA_ESSENCE_TYPE_ST2110_30) return {ZEFA_BUFFER_AUDIO_0};
    if (RasterOf(description.Video().VideoStandard_E).value_or(Raster{}).Interlaced)
        return {ZEFA_BUFFER_VIDEO_0, ZEFA_BUFFER_VIDEO_1};
    return {ZEFA_BUFFER_VIDEO_0};
}

Stream::Stream(const Session& session, const Arguments& arguments, Description description, ZEFA_STREAM_TYPE type)
{
    if (!session.RailFits())
        throw Failure(kRefused, "The service has another version of the flow rail: no media can be exchanged with it.");
    CompletePaths(session, arguments, description.Network);
    ZEFA_STREAM_COMMON_CONFIG common{};
    TakeConductor(session, arguments, common);
    common.ApplicativeBufferQueueDepth_UL = static_cast<uint32_t>(arguments.Number("--queue", 1, 65536, 8));
    common.LockTimeoutMs_UL = kLockTimeoutMs;

    Check(ZEFA_CreateStream(session.Context(), type, description.Essence.EssenceType_E, &Made),
          "No stream could be created");
    Unmake.Add("ZEFA_DestroyStream", [this] { return ZEFA_DestroyStream(Made); });
    Check(ZEFA_SetStreamCommonConfig(Made, &common), "The common configuration was refused");
    Check(ZEFA_SetStreamNetworkConfig(Made, &description.Network), "The network configuration was refused");
    Check(ZEFA_SetStreamEssenceConfig(Made, &description.Essence), "The essence configuration was refused");
    Check(ZEFA_OpenStream(Made), "The stream could not be opened");
    Unmake.Add("ZEFA_CloseStream", [this] { return ZEFA_CloseStream(Made); });
    Unmake.Add("ZEFA_StopStream", [this] { return ZEFA_StopStream(Made); }); // the way back from a failed start, too
    Check(ZEFA_StartStream(Made), "The stream could not be started");
}

void Stream::TakeConductor(const Session& session, const Arguments& arguments, ZEFA_STREAM_COMMON_CONFIG& common)
{
    ZEFA_CONDUCTOR_CONFIG config{};
    config.CpuCoreId_ULL = CoreFor(session, arguments);
    const ZEFA_HANDLE context = session.Context();
    Check(ZEFA_CreateConductor(context, 0, &common.ConductorId_ULL), "No conductor could be created");
    const uint64_t conductor = common.ConductorId_ULL;
    Unmake.Add("ZEFA_DestroyConductor", [=] { return ZEFA_DestroyConductor(context, conductor); });
    Check(ZEFA_SetConductorConfig(context, conductor, &config), "The conductor could not be bound to its core");
    Check(ZEFA_StartConductor(context, conductor), "The conductor could not be started");
    Unmake.Add("ZEFA_StopConductor", [=] { return ZEFA_StopConductor(context, conductor); });
}

Counters Stream::Count() const
{
    Counters counters;
    Check(ZEFA_GetStreamCommonStatus(Made, &counters.Common), "The stream's status could not be read");
    Check(ZEFA_GetStreamNetworkStatus(Made, &counters.Network), "The stream's network status could not be read");
    return counters;
}

} // namespace zefa
