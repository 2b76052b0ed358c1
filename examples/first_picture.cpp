// From a description to a picture: the whole road of a receive stream, on any .sdp file of ST 2110-20 video.
//
//   first_picture FILE.sdp [--service URL] [--interface NAME|ADDRESS] [--core N] [--standard N] [--slots N]
//                          [--picture FILE.png] [--raw FILE]
//
// Every result is checked; whatever was made is unmade on every way out, in the reverse order.
#include "Picture.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <functional>
#include <future>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>
#include <zefaline.h>

namespace
{

using Clock = std::chrono::steady_clock;

struct Options
{
    std::string description;
    std::string service = "http://localhost:7420/";
    std::string interface; // name or IPv4 address; empty: the one that carries the destination address
    uint64_t core = 0;     // number of the operating system
    int standard = -1;     // -1: what the description says
    unsigned slots = 250;
    std::string picture = "picture.png";
    std::string raw; // file for the samples of the picture as they lay in the slot
};

volatile std::sig_atomic_t interrupted = 0;

void Check(ZEFA_ERRORCODE code, const std::string& what)
{
    if (code == ZEFA_NO_ERROR) return;
    char text[ZEFA_ERROR_TEXT_CHARS];
    ZEFA_ErrorToString(code, text);
    throw std::runtime_error(what + ": " + text);
}

// What has been made so far and how to unmake it. Steps run in the reverse order, each whatever the others say.
class Undo
{
public:
    Undo() = default;
    Undo(const Undo&) = delete;
    Undo& operator=(const Undo&) = delete;

    ~Undo()
    {
        for (auto step = Steps.rbegin(); step != Steps.rend(); ++step)
            if (const ZEFA_ERRORCODE code = step->second(); code != ZEFA_NO_ERROR)
                std::fprintf(stderr, "first_picture: clean-up: %s failed with %u\n", step->first, code);
    }

    void Add(const char* what, std::function<ZEFA_ERRORCODE()> step) { Steps.emplace_back(what, std::move(step)); }

private:
    std::vector<std::pair<const char*, std::function<ZEFA_ERRORCODE()>>> Steps;
};

std::string Dotted(uint32_t address)
{
    return std::to_string(address >> 24) + "." + std::to_string(address >> 16 & 255) + "." +
           std::to_string(address >> 8 & 255) + "." + std::to_string(address & 255);
}

// The interface that the option names, or the one whose network the destination belongs to.
uint64_t FindInterface(ZEFA_HANDLE context, const std::string& wanted, uint32_t destination)
{
    uint64_t ids[ZEFA_MAX_LIST_IDS];
    uint32_t count = 0;
    Check(ZEFA_GetNetworkInterfaceHandlesList(context, ids, &count), "The interfaces could not be listed");
    std::string there;
    for (uint32_t i = 0; i < count; ++i)
    {
        ZEFA_NETWORK_INTERFACE_STATUS status{};
        ZEFA_NETWORK_INTERFACE_CONFIG config{};
        Check(ZEFA_GetNetworkInterfaceStatus(context, ids[i], &status), "An interface's status could not be read");
        Check(ZEFA_GetNetworkInterfaceConfig(context, ids[i], &config), "An interface's address could not be read");
        const bool carries =
            config.IP_UL != 0 && (config.IP_UL & config.SubnetMask_UL) == (destination & config.SubnetMask_UL);
        if (wanted.empty() ? carries : wanted == status.SystemName_C || wanted == Dotted(config.IP_UL)) return ids[i];
        there += there.empty() ? "" : ", ";
        there += std::string(status.SystemName_C) + " (" + Dotted(config.IP_UL) + ")";
    }
    throw std::runtime_error(wanted.empty() ? "No interface belongs to the network of " + Dotted(destination) +
                                                  "; choose one with --interface: " + there
                                            : "There is no interface " + wanted + "; there are: " + there);
}

struct Raster
{
    uint32_t width = 0, height = 0, rate = 0;
    uint8_t interlaced = 0, fractional = 0;
};

Raster RasterOf(int32_t standard)
{
    Raster raster;
    Check(ZEFA_ST2110_20_GetVideoStandardInfo(standard, &raster.width, &raster.height, &raster.rate, &raster.interlaced,
                                              &raster.fractional),
          "There is no video standard " + std::to_string(standard));
    return raster;
}

[[noreturn]] void NoStandard()
{
    std::fprintf(stderr, "The video standards are:\n");
    for (int32_t standard = 0; standard < ZEFA_VIDEO_STANDARD_UNKNOWN; ++standard)
    {
        const Raster raster = RasterOf(standard);
        std::fprintf(stderr, "  %2d  %ux%u%c %g\n", standard, raster.width, raster.height,
                     raster.interlaced ? 'i' : 'p', raster.fractional ? raster.rate * 1000 / 1001.0 : raster.rate);
    }
    throw std::runtime_error("No video standard was found for the description. Descriptions of interlaced video give "
                             "frames per second where the standards count fields, and samplings or depths that the "
                             "library does not know end the reading early. Choose the standard with --standard N");
}

Components ComponentsOf(uint32_t sampling)
{
    switch (sampling)
    {
    case ZEFA_SDP_VIDEO_SAMPLING_YCBCR_422: return Components::CbYCrY;
    case ZEFA_SDP_VIDEO_SAMPLING_YCBCR_444: return Components::CbYCr;
    case ZEFA_SDP_VIDEO_SAMPLING_RGB: return Components::RGB;
    default: throw std::runtime_error("This program draws YCbCr 4:2:2, YCbCr 4:4:4 and RGB");
    }
}

Luma LumaOf(uint32_t colorimetry)
{
    if (colorimetry == ZEFA_SDP_COLORIMETRY_BT601) return kBt601;
    if (colorimetry == ZEFA_SDP_COLORIMETRY_BT2020 || colorimetry == ZEFA_SDP_COLORIMETRY_BT2100) return kBt2020;
    return kBt709;
}

using Field = std::vector<uint16_t>;

// A copy of the fields of a locked slot, or nothing when packets are missing in one of them.
std::vector<Field> CopyComplete(ZEFA_HANDLE stream, ZEFA_SLOT slot, unsigned fieldCount)
{
    std::vector<Field> fields;
    for (unsigned i = 0; i < fieldCount; ++i)
    {
        const ZEFA_BUFFER_TYPE type = ZEFA_BUFFER_VIDEO_0 + i;
        ZEFA_LOST_DATA lost[1];
        uint32_t losses = 1;
        Check(ZEFA_GetSlotLostDataInfo(stream, slot, type, lost, &losses), "The slot's losses could not be read");
        if (losses != 0) return {};
        uint8_t* bytes = nullptr;
        uint32_t size = 0;
        Check(ZEFA_GetSlotBuffer(stream, slot, type, &bytes, &size), "A buffer of the slot could not be reached");
        fields.emplace_back(size / 2);
        std::memcpy(fields.back().data(), bytes, size / 2 * 2);
    }
    return fields;
}

void SavePicture(const Options& options, const ZEFA_ST2110_20_CONFIG& video, const Raster& raster,
                 const std::vector<Field>& fields)
{
    const Components components = ComponentsOf(video.NetworkBitSampling_E);
    const size_t wordsPerLine = raster.width * (components == Components::CbYCrY ? 2u : 3u);
    std::vector<Samples> samples;
    for (const Field& field : fields)
        samples.push_back({field.data(), uint32_t(field.size() / wordsPerLine)});
    const std::string failure = WritePng(options.picture, components, 8 + 2 * video.AppBitDepth_E,
                                         LumaOf(video.Colorimetry_E), raster.width, samples);
    if (!failure.empty()) throw std::runtime_error(failure);

    if (options.raw.empty()) return;
    std::ofstream raw(options.raw, std::ios::binary);
    for (const Field& field : fields)
        raw.write(reinterpret_cast<const char*>(field.data()), std::streamsize(field.size() * 2));
    if (!raw.flush()) throw std::runtime_error("The samples could not be written to " + options.raw);
}

void Report(unsigned slots, std::vector<double>& gapsMs, double seconds, ZEFA_HANDLE stream)
{
    ZEFA_STREAM_COMMON_STATUS common{};
    ZEFA_STREAM_NETWORK_STATUS network{};
    Check(ZEFA_GetStreamCommonStatus(stream, &common), "The stream's status could not be read");
    Check(ZEFA_GetStreamNetworkStatus(stream, &network), "The stream's network status could not be read");
    std::printf("\n%u slots, %.2f slots/s, %llu lost packets, %u dropped slots\n", slots,
                seconds > 0 ? double(gapsMs.size()) / seconds : 0.0,
                static_cast<unsigned long long>(network.LostPacketsCount_ULL), common.SlotDropped_UL);
    if (gapsMs.empty()) return;
    std::sort(gapsMs.begin(), gapsMs.end());
    std::printf("time between locks: median %.2f ms, 99th percentile %.2f ms\n", gapsMs[gapsMs.size() / 2],
                gapsMs[gapsMs.size() * 99 / 100]);
}

void Receive(ZEFA_HANDLE stream, const Options& options, const ZEFA_ST2110_20_CONFIG& video, const Raster& raster)
{
    constexpr auto kPatience = std::chrono::seconds(10);
    std::future<void> saving; // a picture is drawn beside the loop: a slot that waits for it would hold up the ring
    std::vector<double> gapsMs;
    gapsMs.reserve(options.slots);
    Clock::time_point last = Clock::now(), first = last;
    unsigned slots = 0;
    while (slots < options.slots && !interrupted)
    {
        ZEFA_SLOT slot = nullptr;
        const ZEFA_ERRORCODE locked = ZEFA_LockSlot(stream, &slot);
        const Clock::time_point now = Clock::now();
        if (locked == ZEFA_ERR_TIMEOUT && now - last < kPatience) continue;
        Check(locked,
              locked == ZEFA_ERR_TIMEOUT ? "Nothing arrives; is the sender running?" : "No slot could be locked");
        if (slots++ == 0)
            first = now;
        else
            gapsMs.push_back(std::chrono::duration<double, std::milli>(now - last).count());
        last = now;

        std::vector<Field> fields;
        {
            Undo unlock;
            unlock.Add("ZEFA_UnlockSlot", [=] { return ZEFA_UnlockSlot(stream, slot); });
            if (!saving.valid()) fields = CopyComplete(stream, slot, raster.interlaced ? 2 : 1);
        }
        if (!fields.empty())
            saving = std::async(std::launch::async, [&options, &video, &raster, fields = std::move(fields)]
                                { SavePicture(options, video, raster, fields); });
        if (slots % 25 == 0) std::fprintf(stderr, "\r%u of %u slots", slots, options.slots);
    }
    Report(slots, gapsMs, std::chrono::duration<double>(last - first).count(), stream);
    if (!saving.valid()) throw std::runtime_error("No complete picture arrived");
    saving.get();
    std::printf("the first complete picture is in %s\n", options.picture.c_str());
}

void Run(const Options& options)
{
    // 1. The description. The structures are zeroed and the standard is preset: what a text does not say stays.
    std::ifstream file(options.description, std::ios::binary);
    if (!file) throw std::runtime_error("The description " + options.description + " could not be opened");
    const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    ZEFA_STREAM_NETWORK_CONFIG network{};
    ZEFA_ESSENCE_CONFIG essence{};
    ZEFA_SDP_INFO info{};
    ZEFA_ST2110_20_CONFIG& video = essence.Essence_X.ST2110_20_X;
    video.VideoStandard_E = ZEFA_VIDEO_STANDARD_UNKNOWN;
    video.UseDefaultTrOffset_B = 1;
    Check(ZEFA_ReadSDP(text.c_str(), nullptr, &network, &essence, &info), "The description could not be read");
    if (essence.EssenceType_E != ZEFA_ESSENCE_TYPE_ST2110_20)
        throw std::runtime_error("The description is not one of ST 2110-20 video");
    if (options.standard >= 0) video.VideoStandard_E = options.standard;
    if (video.VideoStandard_E == ZEFA_VIDEO_STANDARD_UNKNOWN) NoStandard();
    const Raster raster = RasterOf(video.VideoStandard_E);

    // The buffers that we want: the samples of the network, each in a word of 16 bits of this machine.
    video.AppBitDepth_E = video.NetworkBitDepth_E;
    video.AppBitSampling_E = video.NetworkBitSampling_E;
    video.AppBitPadding_E = ZEFA_BIT_PADDING_16;
    video.AppEndianness_E = ZEFA_ENDIANNESS_LITTLE;
    ComponentsOf(video.NetworkBitSampling_E); // refuses what could not be drawn before anything is made

    // 2. The session.
    Undo undo;
    ZEFA_HANDLE context = nullptr;
    Check(ZEFA_CreateMXSContext(options.service.c_str(), &context), "No session with the service " + options.service);
    undo.Add("ZEFA_DestroyMXSContext", [=] { return ZEFA_DestroyMXSContext(context); });

    // 3. The interface of every path. A description does not say which one; multicast takes any source.
    for (uint32_t i = 0; i < network.NbConnections_UL; ++i)
    {
        ZEFA_CONNECTION_CONFIG& path = network.Connections_X[i];
        path.NetworkInterfaceId_ULL = FindInterface(context, options.interface, path.DestinationIp_UL);
        path.MulticastMode_E = ZEFA_MULTICAST_MODE_EXCLUSION;
        std::printf("path %u: %s port %u\n", i, Dotted(path.DestinationIp_UL).c_str(), path.DestinationPort_US);
    }

    // 4. The conductor: the service's thread for our stream, on a core of its own.
    uint64_t core = 0, conductor = 0;
    Check(ZEFA_GetCPUCoreFromOSId(context, options.core, &core), "The cores could not be searched");
    if (core == 0) throw std::runtime_error("There is no core " + std::to_string(options.core));
    Check(ZEFA_CreateConductor(context, 0, &conductor), "No conductor could be created");
    undo.Add("ZEFA_DestroyConductor", [=] { return ZEFA_DestroyConductor(context, conductor); });
    ZEFA_CONDUCTOR_CONFIG conductorConfig{};
    conductorConfig.CpuCoreId_ULL = core;
    Check(ZEFA_SetConductorConfig(context, conductor, &conductorConfig),
          "The conductor could not be bound to its core");
    Check(ZEFA_StartConductor(context, conductor), "The conductor could not be started");
    undo.Add("ZEFA_StopConductor", [=] { return ZEFA_StopConductor(context, conductor); });

    // 5. The stream.
    ZEFA_HANDLE stream = nullptr;
    Check(ZEFA_CreateStream(context, ZEFA_STREAM_TYPE_RX, ZEFA_ESSENCE_TYPE_ST2110_20, &stream),
          "No stream could be created");
    undo.Add("ZEFA_DestroyStream", [=] { return ZEFA_DestroyStream(stream); });

    // 6. Its three configurations.
    ZEFA_STREAM_COMMON_CONFIG common{};
    common.ApplicativeBufferQueueDepth_UL = 8;
    common.LockTimeoutMs_UL = 500;
    common.ConductorId_ULL = conductor;
    Check(ZEFA_SetStreamCommonConfig(stream, &common), "The common configuration was refused");
    Check(ZEFA_SetStreamNetworkConfig(stream, &network), "The network configuration was refused");
    Check(ZEFA_SetStreamEssenceConfig(stream, &essence), "The essence configuration was refused");

    // 7. Open and start: from here on slots fill.
    Check(ZEFA_OpenStream(stream), "The stream could not be opened");
    undo.Add("ZEFA_CloseStream", [=] { return ZEFA_CloseStream(stream); });
    undo.Add("ZEFA_StopStream", [=] { return ZEFA_StopStream(stream); });
    Check(ZEFA_StartStream(stream), "The stream could not be started");

    // 8. The media loop. 9. Everything is unmade when `undo` goes.
    std::printf("receiving %ux%u%c\n", raster.width, raster.height, raster.interlaced ? 'i' : 'p');
    Receive(stream, options, video, raster);
}

Options Parse(int argc, char** argv)
{
    Options options;
    for (int i = 1; i < argc; ++i)
    {
        const std::string name = argv[i];
        if (name.rfind("--", 0) != 0)
        {
            options.description = name;
            continue;
        }
        if (i + 1 == argc) throw std::runtime_error(name + " wants a value");
        const std::string value = argv[++i];
        if (name == "--service")
            options.service = value;
        else if (name == "--interface")
            options.interface = value;
        else if (name == "--core")
            options.core = std::stoul(value);
        else if (name == "--standard")
            options.standard = std::stoi(value);
        else if (name == "--slots")
            options.slots = unsigned(std::stoul(value));
        else if (name == "--picture")
            options.picture = value;
        else if (name == "--raw")
            options.raw = value;
        else
            throw std::runtime_error("There is no option " + name);
    }
    if (options.description.empty())
        throw std::runtime_error("usage: first_picture FILE.sdp [--service URL] [--interface NAME|ADDRESS] [--core N] "
                                 "[--standard N] [--slots N] [--picture FILE.png] [--raw FILE]");
    return options;
}

} // namespace

int main(int argc, char** argv)
try
{
    std::signal(SIGINT, [](int) { interrupted = 1; });
    std::signal(SIGTERM, [](int) { interrupted = 1; });
    Run(Parse(argc, argv));
    return 0;
}
catch (const std::exception& failure) // ZEFA_ReadSDP lets the exceptions of its readers through, too
{
    std::fprintf(stderr, "first_picture: %s\n", failure.what());
    return 1;
}
