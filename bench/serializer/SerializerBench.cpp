// What the largest records cost from text and to text, beside the JSON library alone, which parses the same text and
// prints the same value. All take turns in one process; compare the ratios.
#include "../support/FigureFile.h"
#include "../support/Turns.h"

#include "commandpipe/restserver/CSerializer.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace
{
using namespace Quillmont::Trellis::CommandPipe::RestServer;
using namespace Quillmont::Trellis::Mxs::RtpEssence;
using web::json::value;

constexpr int kRounds = 60;
constexpr auto kTurn = std::chrono::milliseconds(4);

void Require(bool condition, const std::string& what)
{
    if (condition) return;
    std::fprintf(stderr, "bench_serializer: %s failed\n", what.c_str());
    std::exit(1);
}

// A record's text, and what the library does with it. Neither gives false but by a mistake of this program.
struct Subject
{
    std::string name;
    std::string text;
    std::function<bool(const value& document)> read;
    std::function<bool(value** out)> write{}; // none: it is received only
};

// Into a record of the caller's, as the clients of the service read; a new one each time, for lists are appended to.
template <class Base, class Record>
bool ReadInto(const value& document, Record& record)
{
    Base* out = &record;
    return CSerializer::FromJSON(document, &out, true) == RESULT_NO_ERROR;
}

template <class Base, class Record>
Subject BothWays(const std::string& name, const Record& record)
{
    const auto write = [record](value** out)
    { return CSerializer::ToJSON(static_cast<const Base&>(record), out) == RESULT_NO_ERROR; };
    value* document = nullptr;
    Require(write(&document), name);
    const std::string text = document->serialize();
    CSerializer::Delete(document);

    Record back;
    Require(ReadInto<Base>(value::parse(text), back) &&
                static_cast<const Base&>(back) == static_cast<const Base&>(record),
            name);
    const auto read = [](const value& from)
    {
        Record made;
        return ReadInto<Base>(from, made);
    };
    return {name, text, read, write};
}

// `isWhole` looks at what has come of the text.
template <class Base, class Record>
Subject ReadOnly(const std::string& name, const std::string& text, bool (*isWhole)(const Record& record))
{
    Record record;
    Require(ReadInto<Base>(value::parse(text), record) && isWhole(record), name);
    const auto read = [](const value& from)
    {
        Record made;
        return ReadInto<Base>(from, made);
    };
    return {name, text, read};
}

STREAM_NETWORK_CONFIG NetworkConfig(size_t connections, uint32_t sources)
{
    STREAM_NETWORK_CONFIG config{.PayloadType = 96, .SSRC = 0xC0FFEE01, .SocketBufferSize = 16 << 20};
    CONNECTION_CONFIG connection{.SourceIp = 0xC000020A,
                                 .DestinationIp = 0xEF140103,
                                 .DestinationPort = 20000,
                                 .NetworkInterfaceID = 3,
                                 .MulticastMode = MULTICAST_MODE_INCLUSION,
                                 .Dscp = 34,
                                 .MulticastTtl = 64};
    for (uint32_t source = 0; source < sources; ++source)
        connection.MulticastSources.push_back(0xC0000201 + source);
    config.ConnectionConfigurations.assign(connections, connection);
    return config;
}

CONFIG_ST2110_20 VideoConfig()
{
    CONFIG_ST2110_20 config;
    config.FrameWidth = 3840;
    config.FrameHeight = 2160;
    config.Framerate = 60;
    config.ClockType = CLOCK_TYPE_US;
    config.NetworkBitProp.BitDepth = BIT_DEPTH_10BITS;
    config.AppBitProp.BitDepth = BIT_DEPTH_10BITS;
    config.AppBitProp.BitPadding = BIT_PADDING_16BITS;
    config.AppBitProp.Endianness = ENDIANNESS_LITTLE;
    config.Colorimetry = COLORIMETRY_BT2020;
    config.UseDefaultTrOffset = false;
    config.TrOffset = 637;
    return config;
}

// `count` times what stands in `piece`, with the number of each in place of its '#'.
std::string Listed(uint32_t count, const std::string& piece)
{
    std::string text;
    for (uint32_t i = 0; i < count; ++i)
    {
        std::string one = piece;
        one.replace(one.find('#'), 1, std::to_string(i));
        text += (i == 0 ? "" : ",") + one;
    }
    return text;
}

// 64 keys of four texts each.
std::string CommonStatusText()
{
    return R"({"FlowRailDescriptor":{"Type":"FileMap","Description":{)" +
           Listed(64, R"("Key#":["mxs-rail-0123456789abcdef","41472000","8","producer"])") +
           R"(}},"MinProcessingTime":1200345,"MaxProcessingTime":2400678,"MeanProcessingTime":1800912,)"
           R"("ApplicativeBufferDelayed":false})";
}

std::string AncillaryStatusText()
{
    return R"({"Type":"ST2110_40","LockSize":1048576,"SlotDropped":0,"Data":{"BufferInfo":{)" +
           Listed(16, R"("#":{"Offset":65536,"Size":65536})") + "}}}";
}

constexpr char kPtpStatusText[] = R"({
"ParentDS":{"parentPortIdentity":{"clockIdentity":{"64bData":729583618391326559},"portNumber":1},"parentStats":false,
 "observedParentOffsetScaledLogVariance":65535,"observedParentClockPhaseChangeRate":2147483647,
 "grandmasterIdentity":{"64bData":729583618391326559},
 "gm":{"ClockClass":6,"ClockAccuracy":33,"OffsetScaledLogVariance":20061},
 "grandmasterPriority1":128,"grandmasterPriority2":128},
"CurrentDS":{"stepsRemoved":1,"offsetFromMaster":-17.25,"meanPathDelay":842.5},
"PortDS":{"logMinDelayReqInterval":-3,"peerMeanPathDelay":0.0,"logAnnounceInterval":-2,"announceReceiptTimeout":3,
 "logSyncInterval":-3,"delayMechanism":"E2E","logMinPdelayReqInterval":0,"versionNumber":2,
 "portIdentity":{"clockIdentity":{"64bData":4951760157141521099},"portNumber":1},"portState":"SLAVE"},
"DefaultDS":{"numberPorts":1,"clockClass":248,"clockAccuracy":254,"offsetScaledLogVariance":65535,"twoStepFlag":true,
 "domainNumber":127,"slaveOnly":true,"priority1":128,"priority2":128,"clockIdentity":{"64bData":4951760157141521099}},
"TimePropertiesDS":{"currentUtcOffset":37,"currentUtcOffsetValid":true,"leap59":false,"leap61":false,
 "timeTraceable":true,"frequencyTraceable":true,"ptpTimescale":true,"timeSource":32},
"CurrentSystemTime":1700000000123456789})";

std::vector<Subject> MakeSubjects()
{
    return {
        BothWays<STREAM_NETWORK_CONFIG>("network configuration, 2 connections", NetworkConfig(2, 1)),
        BothWays<STREAM_NETWORK_CONFIG>("network configuration, 128 connections of 128 sources",
                                        NetworkConfig(128, 128)),
        BothWays<CONFIG>("video configuration", VideoConfig()),
        ReadOnly<STREAM_COMMON_STATUS, STREAM_COMMON_STATUS>(
            "common status, 256 texts", CommonStatusText(),
            [](const STREAM_COMMON_STATUS& record)
            { return record.FlowRailDescriptor.Description.size() == 256 && record.MeanProcessingTime == 1800912; }),
        ReadOnly<STATUS, STATUS_ST2110_40>("ancillary status, 16 buffers", AncillaryStatusText(),
                                           [](const STATUS_ST2110_40& record)
                                           { return record.BufferInfo.size() == 16 && record.LockSize == 1048576; }),
        ReadOnly<PTP_STATUS, PTP_STATUS>("PTP status", kPtpStatusText,
                                         [](const PTP_STATUS& record) {
                                             return record.portState == PORT_STATE_SLAVE &&
                                                    record.CurrentSystemTime == 1700000000123456789;
                                         }),
    };
}

struct Contender
{
    std::string name;
    std::function<void()> work;
    std::vector<double> nanoseconds{}; // one for each round
};

void Compare(const Subject& subject, FigureFile& figures)
{
    const value document = value::parse(subject.text);
    std::vector<Contender> contenders{
        {"text to record", [&] { Require(subject.read(value::parse(subject.text)), subject.name); }},
        {"parse alone", [&] { value::parse(subject.text); }},
    };
    if (subject.write)
    {
        contenders.push_back({"record to text", [&]
                              {
                                  value* made = nullptr;
                                  Require(subject.write(&made), subject.name);
                                  made->serialize();
                                  CSerializer::Delete(made);
                              }});
        contenders.push_back({"print alone", [&] { document.serialize(); }});
    }
    if (!figures.OnlyLists())
    {
        for (int round = 0; round < kRounds; ++round)
            for (Contender& contender : contenders)
                contender.nanoseconds.push_back(bench::TakeTurn(contender.work, kTurn));
        std::printf("%s: %zu bytes; median of %d rounds\n", subject.name.c_str(), subject.text.size(), kRounds);
    }
    for (const Contender& contender : contenders)
    {
        const double median = figures.OnlyLists() ? 0 : bench::Median(contender.nanoseconds);
        if (!figures.OnlyLists()) std::printf("  %-20s %10.2f us\n", contender.name.c_str(), median / 1000);
        figures.Add(subject.name + ": " + contender.name, median);
    }
}
} // namespace

int main(int count, char** arguments)
{
    FigureFile figures(count, arguments);
    for (const Subject& subject : MakeSubjects())
        Compare(subject, figures);
    return figures.Write() ? 0 : 1;
}
