// The road of a stream, from options and a description to slots. Read Session::Session and Stream::Stream first: they
// are the steps in their order.
#include "Session.h"

#include <algorithm>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <fstream>
#include <iomanip>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace
{

using Clock = std::chrono::steady_clock;

volatile std::sig_atomic_t interrupted = 0;

void Interrupt(int)
{
    interrupted = 1;
}

template <typename T>
T Number(const std::string& name, const std::string& text)
{
    T value{};
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || stop != end) throw std::runtime_error(name + " wants a number and not " + text);
    return value;
}

double Real(const std::string& name, const std::string& text, Range range)
{
    const double value = Number<double>(name, text);
    if (value >= range.least && value <= range.most) return value; // "nan" is not, and neither is "inf"
    std::ostringstream sentence;
    sentence << std::setprecision(10) << name << " wants a number from " << range.least << " to " << range.most
             << " and not " << text;
    throw std::runtime_error(sentence.str());
}

void Store(const OwnOption& option, const std::string& text)
{
    if (const auto* const string = std::get_if<std::string*>(&option.target))
        **string = text;
    else if (const auto* const whole = std::get_if<uint32_t*>(&option.target))
        **whole = Number<uint32_t>(option.name, text);
    else if (const auto* const real = std::get_if<double*>(&option.target))
        **real = Real(option.name, text, option.range);
}

std::string Usage(const std::string& program, const std::string& files, std::initializer_list<OwnOption> own)
{
    std::string usage = "usage: " + program.substr(program.rfind('/') + 1) + " " + files +
                        " [--service URL] [--interface NAME|ADDRESS] [--core N] [--standard N] [--slots N]"
                        " [--seconds S]";
    for (const OwnOption& option : own)
        usage += std::string(" [") + option.name + (option.value ? std::string(" ") + option.value : "") + "]";
    return usage;
}

std::string Dotted(uint32_t address)
{
    return std::to_string(address >> 24) + "." + std::to_string(address >> 16 & 255) + "." +
           std::to_string(address >> 8 & 255) + "." + std::to_string(address & 255);
}

struct Interface
{
    uint64_t id;
    uint32_t address;
};

// The interface that the option names, or the one whose network the destination belongs to.
Interface FindInterface(ZEFA_HANDLE context, const std::string& wanted, uint32_t destination)
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
        if (wanted.empty() ? carries : wanted == status.SystemName_C || wanted == Dotted(config.IP_UL))
            return {ids[i], config.IP_UL};
        there += there.empty() ? "" : ", ";
        there += std::string(status.SystemName_C) + " (" + Dotted(config.IP_UL) + ")";
    }
    throw std::runtime_error(wanted.empty() ? "No interface belongs to the network of " + Dotted(destination) +
                                                  "; choose one with --interface: " + there
                                            : "There is no interface " + wanted + "; there are: " + there);
}

ZEFA_STREAM_COMMON_STATUS CommonStatusOf(const Stream& stream)
{
    ZEFA_STREAM_COMMON_STATUS status{};
    Check(ZEFA_GetStreamCommonStatus(stream.Handle, &status), "The stream's status could not be read");
    return status;
}

ZEFA_STREAM_NETWORK_STATUS NetworkStatusOf(const Stream& stream)
{
    ZEFA_STREAM_NETWORK_STATUS status{};
    Check(ZEFA_GetStreamNetworkStatus(stream.Handle, &status), "The stream's network status could not be read");
    return status;
}

// Waits until the ring is empty, as long as slots go. An underrun behind the last slot is the end and no fault: the
// count is one from before a moment at which there still was a slot.
uint64_t UnderrunsUntilSent(const Stream& stream)
{
    uint64_t underruns = NetworkStatusOf(stream).UnderrunCount_ULL;
    uint64_t now = underruns;
    uint32_t least = UINT32_MAX;
    Clock::time_point patience;
    while (const uint32_t left = interrupted ? 0 : CommonStatusOf(stream).SlotsFilled_UL)
    {
        if (left < least) patience = Clock::now() + std::chrono::seconds(10);
        if (Clock::now() > patience)
            throw std::runtime_error("The service sends nothing; slots left: " + std::to_string(left));
        least = left;
        underruns = now;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        now = NetworkStatusOf(stream).UnderrunCount_ULL;
    }
    return underruns;
}

} // namespace

void Check(ZEFA_ERRORCODE code, const std::string& what)
{
    if (code == ZEFA_NO_ERROR) return;
    char text[ZEFA_ERROR_TEXT_CHARS];
    ZEFA_ErrorToString(code, text);
    throw std::runtime_error(what + ": " + text);
}

Undo::~Undo()
{
    for (auto step = Steps.rbegin(); step != Steps.rend(); ++step)
        if (const ZEFA_ERRORCODE code = step->second(); code != ZEFA_NO_ERROR)
            std::fprintf(stderr, "clean-up: %s failed with %u\n", step->first, code);
}

Options ParseOptions(int argc, char** argv, const std::string& files, std::initializer_list<OwnOption> own)
{
    Options options;
    for (int i = 1; i < argc; ++i)
    {
        const std::string name = argv[i];
        if (name.rfind("--", 0) != 0)
        {
            options.descriptions.push_back(name);
            continue;
        }
        const auto found =
            std::find_if(own.begin(), own.end(), [&](const OwnOption& option) { return name == option.name; });
        if (found != own.end() && std::holds_alternative<bool*>(found->target))
        {
            *std::get<bool*>(found->target) = true;
            continue;
        }
        if (i + 1 == argc) throw std::runtime_error(name + " wants a value");
        const std::string value = argv[++i];
        if (found != own.end())
            Store(*found, value);
        else if (name == "--service")
            options.service = value;
        else if (name == "--interface")
            options.interface = value;
        else if (name == "--core")
            options.core = Number<uint64_t>(name, value);
        else if (name == "--standard")
            options.standard = Number<int>(name, value);
        else if (name == "--slots")
            options.slots = Number<uint64_t>(name, value);
        else if (name == "--seconds")
            options.seconds = Real(name, value, {0, 1e9});
        else
            throw std::runtime_error("There is no option " + name + "\n" + Usage(argv[0], files, own));
    }
    const auto wanted = 1 + std::count(files.begin(), files.end(), ' ');
    if (options.descriptions.size() != size_t(wanted)) throw std::runtime_error(Usage(argv[0], files, own));
    return options;
}

int RunExample(const char* name, const std::function<void()>& run)
try
{
    std::setvbuf(stdout, nullptr, _IOLBF, 0);           // a line is there when it is printed, also through a pipe
    for (const int signal : {SIGINT, SIGTERM, SIGPIPE}) // the last one: nobody reads what we print
        std::signal(signal, &Interrupt);
    if (std::signal(SIGHUP, SIG_IGN) != SIG_IGN) std::signal(SIGHUP, &Interrupt); // nohup asks to go on
    run();
    return 0;
}
catch (const std::exception& failure) // ZEFA_ReadSDP lets the exceptions of its readers through, too
{
    std::fprintf(stderr, "%s: %s\n", name, failure.what());
    return 1;
}

Description ReadDescription(const std::string& file, const Options& options,
                            std::initializer_list<ZEFA_ESSENCE_TYPE> wanted)
{
    std::ifstream stream(file, std::ios::binary);
    if (!stream) throw std::runtime_error("The description " + file + " could not be opened");
    const std::string text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};

    // The structures are zeroed and a few fields preset: what a text does not say, or says with a word that the library
    // does not know, stays. The fields of the essence share their memory: the standard lies where audio has its codec,
    // which the reader always writes, depth and sampling where it has its rate, which none has this number for, and its
    // channels, which are written behind the rate.
    Description description;
    ZEFA_ST2110_20_CONFIG& video = description.essence.Essence_X.ST2110_20_X;
    video.VideoStandard_E = ZEFA_VIDEO_STANDARD_UNKNOWN;
    video.NetworkBitDepth_E = ZEFA_SDP_VIDEO_DEPTH_UNKNOWN;
    video.NetworkBitSampling_E = ZEFA_SDP_VIDEO_SAMPLING_UNKNOWN;
    video.UseDefaultTrOffset_B = 1;
    Check(ZEFA_ReadSDP(text.c_str(), nullptr, &description.network, &description.essence, &description.info),
          "The description " + file + " could not be read");

    const ZEFA_ESSENCE_TYPE type = description.essence.EssenceType_E;
    if (std::find(wanted.begin(), wanted.end(), type) == wanted.end())
    {
        constexpr const char* kEssences[] = {"ST 2110-20 video", "ST 2110-30 audio", "ST 2110-40 ancillary data"};
        std::string names;
        for (const ZEFA_ESSENCE_TYPE essence : wanted)
            names += (names.empty() ? "" : " or ") + std::string(kEssences[essence]);
        throw std::runtime_error("The description " + file + " is not one of " + names);
    }
    if (options.standard >= 0 && type == ZEFA_ESSENCE_TYPE_ST2110_20) video.VideoStandard_E = options.standard;
    if (type == ZEFA_ESSENCE_TYPE_ST2110_40) // such a description never says it
        description.essence.Essence_X.ST2110_40_X.VideoStandard_E =
            options.standard >= 0 ? uint32_t(options.standard) : uint32_t(ZEFA_VIDEO_STANDARD_UNKNOWN);
    return description;
}

Session::Session(const Options& options)
{
    Check(ZEFA_CreateMXSContext(options.service.c_str(), &Context), "No session with the service " + options.service);
    Steps.Add("ZEFA_DestroyMXSContext", [this] { return ZEFA_DestroyMXSContext(Context); });

    // The conductor: the service's thread for our streams, on a core of its own.
    uint64_t core = 0;
    Check(ZEFA_GetCPUCoreFromOSId(Context, options.core, &core), "The cores could not be searched");
    if (core == 0) throw std::runtime_error("There is no core " + std::to_string(options.core));
    Check(ZEFA_CreateConductor(Context, 0, &Conductor), "No conductor could be created");
    Steps.Add("ZEFA_DestroyConductor", [this] { return ZEFA_DestroyConductor(Context, Conductor); });
    ZEFA_CONDUCTOR_CONFIG config{};
    config.CpuCoreId_ULL = core;
    Check(ZEFA_SetConductorConfig(Context, Conductor, &config), "The conductor could not be bound to its core");
    Check(ZEFA_StartConductor(Context, Conductor), "The conductor could not be started");
    Steps.Add("ZEFA_StopConductor", [this] { return ZEFA_StopConductor(Context, Conductor); });
}

Stream::Stream(const Session& session, ZEFA_STREAM_TYPE type, Description description, const Options& options)
    : Type(type)
{
    // The interface of every path. A description does not say which one; multicast takes any source. We send from the
    // interface's own address, whoever wrote the description.
    ZEFA_STREAM_NETWORK_CONFIG& network = description.network;
    for (uint32_t i = 0; i < network.NbConnections_UL; ++i)
    {
        ZEFA_CONNECTION_CONFIG& path = network.Connections_X[i];
        const Interface interface = FindInterface(session.Context, options.interface, path.DestinationIp_UL);
        path.NetworkInterfaceId_ULL = interface.id;
        if (type == ZEFA_STREAM_TYPE_TX) path.SourceIp_UL = interface.address;
        path.MulticastMode_E = ZEFA_MULTICAST_MODE_EXCLUSION;
    }

    Check(ZEFA_CreateStream(session.Context, type, description.essence.EssenceType_E, &Handle),
          "No stream could be created");
    Steps.Add("ZEFA_DestroyStream", [this] { return ZEFA_DestroyStream(Handle); });

    ZEFA_STREAM_COMMON_CONFIG common{};
    // Enough to sleep through a busy moment of the machine: slots of audio are 10 ms here, all others a frame.
    common.ApplicativeBufferQueueDepth_UL = description.essence.EssenceType_E == ZEFA_ESSENCE_TYPE_ST2110_30 ? 50 : 8;
    common.LockTimeoutMs_UL = 100;
    common.ConductorId_ULL = session.Conductor;
    Check(ZEFA_SetStreamCommonConfig(Handle, &common), "The common configuration was refused");
    Check(ZEFA_SetStreamNetworkConfig(Handle, &network), "The network configuration was refused");
    Check(ZEFA_SetStreamEssenceConfig(Handle, &description.essence), "The essence configuration was refused");

    Check(ZEFA_OpenStream(Handle), "The stream could not be opened");
    Steps.Add("ZEFA_CloseStream", [this] { return ZEFA_CloseStream(Handle); });
    Steps.Add("ZEFA_StopStream", [this] { return ZEFA_StopStream(Handle); });
    Check(ZEFA_StartStream(Handle), "The stream could not be started");
    for (uint32_t i = 0; i < network.NbConnections_UL; ++i)
        std::printf("%s path %u: %s port %u\n", type == ZEFA_STREAM_TYPE_TX ? "sending," : "receiving,", i,
                    Dotted(network.Connections_X[i].DestinationIp_UL).c_str(),
                    network.Connections_X[i].DestinationPort_US);
}

ZEFA_SLOT LockSlot(const Stream& stream, Clock::time_point end)
{
    const Clock::time_point patience = Clock::now() + std::chrono::seconds(10);
    while (!interrupted && Clock::now() < end)
    {
        ZEFA_SLOT slot = nullptr;
        const ZEFA_ERRORCODE locked = ZEFA_LockSlot(stream.Handle, &slot);
        if (locked == ZEFA_NO_ERROR) return slot;
        if (locked == ZEFA_ERR_TIMEOUT && Clock::now() < patience) continue;
        Check(locked, locked != ZEFA_ERR_TIMEOUT           ? "No slot could be locked"
                      : stream.Type == ZEFA_STREAM_TYPE_TX ? "The service sends nothing"
                                                           : "Nothing arrives; is the sender running?");
    }
    return nullptr;
}

void UnlockSlot(const Stream& stream, ZEFA_SLOT slot)
{
    Check(ZEFA_UnlockSlot(stream.Handle, slot), "A slot could not be unlocked");
}

uint64_t ForEachSlot(const Stream& stream, const Options& options,
                     const std::function<void(ZEFA_SLOT slot, uint64_t number)>& work)
{
    Clock::time_point end = Clock::time_point::max();
    uint64_t slots = 0;
    while (options.slots == 0 || slots < options.slots)
    {
        const ZEFA_SLOT slot = LockSlot(stream, end);
        if (!slot) break;
        if (slots == 0 && options.seconds > 0)
            end = Clock::now() +
                  std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(options.seconds));
        work(slot, slots++);
        UnlockSlot(stream, slot);
    }
    return slots;
}

Buffer BufferOf(const Stream& stream, ZEFA_SLOT slot, ZEFA_BUFFER_TYPE type)
{
    Buffer buffer{};
    Check(ZEFA_GetSlotBuffer(stream.Handle, slot, type, &buffer.bytes, &buffer.size),
          "A buffer of the slot could not be reached");
    return buffer;
}

std::vector<ZEFA_TIMESTAMP> TimestampsOf(const Stream& stream, ZEFA_SLOT slot, ZEFA_BUFFER_TYPE type)
{
    std::vector<ZEFA_TIMESTAMP> timestamps(16);
    uint32_t count = uint32_t(timestamps.size());
    Check(ZEFA_GetSlotTimestamps(stream.Handle, slot, type, timestamps.data(), &count),
          "The slot's timestamps could not be read");
    if (count == 0) throw std::runtime_error("The slot has no timestamp");
    timestamps.resize(count);
    return timestamps;
}

void Report(const Stream& stream, uint64_t slots)
{
    const bool sends = stream.Type == ZEFA_STREAM_TYPE_TX;
    const uint64_t underruns = sends ? UnderrunsUntilSent(stream) : 0;
    const ZEFA_STREAM_NETWORK_STATUS network = NetworkStatusOf(stream);
    std::ostringstream line;
    line << slots << " slots, " << network.TotalTransferredPacketCount_ULL << " packets, "
         << network.LostPacketsCount_ULL << " lost packets, ";
    if (sends)
        line << underruns << " underruns";
    else
        line << CommonStatusOf(stream).SlotDropped_UL << " dropped slots";
    std::printf("%s\n", line.str().c_str());
}
