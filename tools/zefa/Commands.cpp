// The table of commands.
#include "Commands.h"

namespace zefa
{
namespace
{
constexpr Option kService{"--service", "URL", "the service's address (default http://localhost:7420/)"};
constexpr Option kJson{"--json", nullptr, "print JSON for programs instead of tables for people"};
constexpr Option kWatch{"--watch", nullptr, "print again and again; JSON comes as one document a line"};
constexpr Option kInterval{"--interval", "MS", "with --watch, milliseconds between two prints (default 1000)"};
constexpr Option kCount{"--count", "N", "with --watch, end after N prints"};

const std::vector<Option> kLook{kService, kJson, kWatch, kInterval, kCount};

constexpr Option kInterface{
    "--interface", "NAME",
    "network interface, by name or IPv4 address; given several times: one for each path in turn "
    "(default: the one whose network the destination belongs to)",
    nullptr, true};

const std::vector<Option> kStream{
    kService,
    {"--media", "N", "take the media number N of the description, from 0, with the paths grouped with it"},
    kInterface,
    {"--standard", "NAME", "video standard, as 1920x1080i50 or its number, where the description does not lead to one"},
    {"--core", "N", "core for the conductor, by the operating system's number (default: the first that is available)"},
    {"--padding", "BITS", "samples in the file: none (packed, as on the network; default), 16 or 32", "none 16 32"},
    {"--endianness", "ORDER", "bytes of samples in the file: big (as on the network; default) or little", "big little"},
    {"--depth", "BITS", "bits of a sample in the file: 8, 10 or 12 (default: as on the network)", "8 10 12"},
    {"--queue", "N", "slots of the ring (default 8)"},
    {"--packets-per-slot", "N", "audio packets that make one slot (default: 10 ms)"},
    {"--slots", "N", "end after N slots"},
    {"--seconds", "N", "end after N seconds"},
    {"--timeout", "SECONDS", "give up when no slot came or went for so long (default 10)"},
    kJson,
    {"--interval", "MS", "milliseconds between two prints of the counters (default 1000)"},
};

std::vector<Option> With(std::vector<Option> options, const std::vector<Option>& more)
{
    options.insert(options.end(), more.begin(), more.end());
    return options;
}

constexpr const char* kSamplingWords = "YCbCr-4:2:2 YCbCr-4:4:4 ICtCp-4:2:2 ICtCp-4:4:4 RGB XYZ";
constexpr const char* kColorimetryWords = "BT601 BT709 BT2020 BT2100 ST2065-1 ST2065-3 UNSPECIFIED XYZ";
constexpr const char* kTransferWords = "SDR PQ HLG LINAR BT2100LINPQ BT2100LINHLG ST2065-1 ST428-1 DENSITY UNSPECIFIED";

std::vector<Command> MakeCommands()
{
    const Operand description{"FILE", "@file"};
    return {
        {"status",
         "the service and the library at a glance",
         "Prints the versions of the service and of the libraries, and how many cores, interfaces and shared "
         "conductors there are.",
         {},
         kLook,
         &RunStatus},
        {"cores",
         "the CPU cores of the service",
         "Prints one line for each core that the service knows.",
         {},
         kLook,
         &RunCores},
        {"interfaces",
         "the network interfaces of the service",
         "Prints one line for each interface that the service knows, with what it carries now.",
         {},
         kLook,
         &RunInterfaces},
        {"conductors",
         "the shared conductors",
         "Prints one line for each conductor that an application shares. Those that are not shared are seen by their "
         "own application alone.",
         {},
         kLook,
         &RunConductors},
        {"ptp",
         "the PTP daemon: configuration and data sets",
         "Prints the configuration of the service's PTP daemon and what it knows of itself, its port, its master and "
         "its grandmaster.\n\n"
         "With --profile and --interface the daemon is first configured from that profile and started on that "
         "interface. There is one daemon for all applications: the last configuration holds.",
         {},
         With({{"--profile", "N", "configure from profile 0 (domain 127, 8 delay requests a second) or 1 (domain 0)",
                "0 1"},
               {"--interface", "NAME", "interface for the daemon, by name or IPv4 address"},
               {"--domain", "N", "another PTP domain than the profile's"},
               {"--delay", "MECHANISM", "e2e or p2p instead of the profile's delay mechanism", "e2e p2p"},
               {"--hybrid", nullptr, "send delay requests unicast"},
               {"--hardware", nullptr, "time stamps of the network card instead of the operating system"}},
              kLook),
         &RunPtp},
        {"receive",
         "receive a stream and count",
         "Receives the stream of a description and prints its counters once an interval: slots, packets, losses, how "
         "full the ring is. It ends with the first of --slots, --seconds, --timeout and an interrupt.\n\n"
         "With --output the buffers of each slot are written one behind the other, as they lie in the slot, and "
         "ancillary packets as text, one a line: slot, playlist, line, H or V (horizontal or vertical area), DID, SDID "
         "and user words, the last three hexadecimal. With \"-\" they go to the standard output and the counters to "
         "the standard error stream.",
         {description},
         With({{"--output", "FILE", "write what arrives; - is the standard output", "@file"}}, kStream),
         &RunReceive},
        {"send",
         "send a file as a stream",
         "Sends the bytes of a file as the stream of a description, slot by slot, in the format that --padding, "
         "--endianness and --depth name, and prints the counters once an interval. A last slot that the file does not "
         "fill is filled with zeros. Ancillary packets are read as text, as zefa receive writes them. It ends with the "
         "file, or with the first of --slots, --seconds, --timeout and an interrupt, and waits until the service has "
         "sent what is in the ring; after an interrupt it drops that.",
         {description},
         With({{"--input", "FILE", "file with the samples; - is the standard input", "@file"},
               {"--loop", nullptr, "begin the file again at its end"}},
              kStream),
         &RunSend},
        {"sdp check",
         "what the reader says of a description",
         "Reads a description and prints all that the library's reader says of it, as FILE:LINE:COLUMN, kind, who "
         "says it, key and reason. The reader does not tell where: lines and columns are zefa's own search for what "
         "the reader names, and left out when it finds nothing.\n\n"
         "Hints are zefa's own, too: things that the field does and that this reader does not take, or takes without "
         "a word. They alone do not make the exit code 1, unless --strict is given.",
         {description},
         {kJson, {"--strict", nullptr, "hints count as complaints"}},
         &RunSdpCheck},
        {"sdp show",
         "the fields of a description",
         "Reads a description and prints each field that it fills. A field that the description does not say is left "
         "out. Complaints go to the standard error stream.",
         {description},
         {kJson},
         &RunSdpShow},
        {"sdp write",
         "write a description from options",
         "Writes a description of one stream. Each --path is a network path; several carry the same packets. What no "
         "option says is as in a usual stream: 1920x1080p50, YCbCr-4:2:2, 10 bits, BT709, SDR; L24, 48000, 2 channels, "
         "1 ms; mediaclk direct, refclk traceable. With --from, what no option says is taken from that description.",
         {},
         {{"--essence", "KIND", "video (default), audio or anc", "video audio anc"},
          {"--from", "FILE", "begin with the fields of this description", "@file"},
          {"--path", "ADDRESS:PORT", "destination of a path", nullptr, true},
          {"--source", "ADDRESS", "address that sends"},
          {"--payload", "N", "RTP payload type (default 96)"},
          {"--name", "TEXT", "session name"},
          {"--info", "TEXT", "session description"},
          {"--standard", "NAME", "video standard of video and ancillary data, as 1920x1080i50 or its number"},
          {"--sampling", "WORD", "sampling", kSamplingWords},
          {"--depth", "BITS", "bits of a sample", "8 10 12"},
          {"--colorimetry", "WORD", "colour space", kColorimetryWords},
          {"--tcs", "WORD", "transfer characteristic", kTransferWords},
          {"--troff", "US", "offset in microseconds, when it is not the default"},
          {"--codec", "WORD", "audio coding", "L16 L24"},
          {"--rate", "HZ", "audio samples a second", "48000 96000"},
          {"--channels", "N", "audio channels"},
          {"--ptime", "MS", "audio time in a packet", "1 0.125"},
          {"--channel-order", "TEXT", "audio channel order, as SMPTE2110.(ST)"},
          {"--mediaclk", "WORD", "media clock", "direct sender"},
          {"--tsmode", "WORD", "meaning of the time stamps", "SAMP NEW PRES"},
          {"--tsdelay", "US", "TSDELAY in microseconds"},
          {"--refclk", "CLOCK",
           "traceable, ptp=IDENTITY:DOMAIN or localmac=MAC, numbers in hexadecimal pairs with hyphens"},
          {"--output", "FILE", "write to a file instead of the standard output", "@file"},
          kJson},
         &RunSdpWrite},
        {"sdp diff",
         "what differs between two descriptions",
         "Reads two descriptions and prints the fields in which they differ. Order of lines, spacing and what the "
         "reader does not read play no part.",
         {{"A", "@file"}, {"B", "@file"}},
         {kJson},
         &RunSdpDiff},
    };
}
} // namespace

const std::vector<Command>& Commands()
{
    static const std::vector<Command> commands = MakeCommands();
    return commands;
}

const std::vector<Option>& GeneralOptions()
{
    static const std::vector<Option> options{
        {"--help", nullptr, "this text; behind a command: its own"},
        {"--version", nullptr, "version of the program"},
        {"--man", nullptr, "the man page, for man -l"},
        {"--completion", "SHELL", "the completion for a shell: bash", "bash"},
    };
    return options;
}

} // namespace zefa
