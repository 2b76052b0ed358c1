// What reading and writing a description costs, beside a plain loop over the rules, GStreamer and libavformat where
// they are installed. All contenders take turns in one run, so that the load of the machine falls on each alike;
// compare the ratios.
#include "Peers.h"
#include "PlainRuleLoop.h"

#include "../support/FigureFile.h"
#include "../support/Turns.h"

#include "zefaline/sdp.h"

#include "sdp/SdpParser.h"
#include "sdp/SdpWriter.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using bench::Median;
using quill::sdp_module::ParseSdpText;
using quill::sdp_module::WriteSdpText;

namespace
{
constexpr int kRounds = 60;
constexpr auto kTurn = std::chrono::milliseconds(4);

std::string Media(const std::string& net, const std::string& mid)
{
    return "m=video 20000 RTP/AVP 96\r\n"
           "c=IN IP4 239.20." +
           net +
           ".3/64\r\n"
           "a=source-filter: incl IN IP4 239.20." +
           net +
           ".3 192.0.2.10\r\n"
           "a=rtpmap:96 raw/90000\r\n"
           "a=fmtp:96 sampling=YCbCr-4:2:2; width=1920; height=1080; exactframerate=60000/1001; "
           "depth=10; TCS=SDR; colorimetry=BT709; PM=2110GPM; SSN=ST2110-20:2017; TP=2110TPN; \r\n"
           "a=mediaclk:direct=0\r\n"
           "a=ts-refclk:ptp=IEEE1588-2008:0A-1B-2C-FF-FE-3D-4E-5F:127\r\n" +
           mid;
}

const std::string kSession = "v=0\r\n"
                             "o=- 1699999999 1700000000 IN IP4 192.0.2.10\r\n"
                             "s=Studio 1 camera 3\r\n"
                             "i=1080p59.94\r\n"
                             "t=0 0\r\n";
const std::string kOnePath = kSession + Media("1", "");
const std::string kTwoPaths =
    kSession + "a=group:DUP first second\r\n" + Media("1", "a=mid:first\r\n") + Media("2", "a=mid:second\r\n");

const char* const kParse = "text to tree";
const char* const kPlainParse = "text to tree, every row tried by std::regex";
const char* const kWrite = "tree to text";
const char* const kPlainWrite = "tree to text, tokens found by std::regex";
const char* const kCopyTree = "copy of the tree";
const char* const kRead = "ZEFA_ReadSDP";
const char* const kWriteApi = "ZEFA_WriteSDP";

struct Ratio
{
    const char* above;
    const char* below;
    double toReach;
};

constexpr Ratio kRatios[] = {
    {kParse, kPlainParse, 0.07},    {kParse, kGStreamerParse, 6}, {kRead, kGStreamerCaps, 2},
    {kRead, kLibavformat, 1},       {kWrite, kPlainWrite, 0.25},  {kWrite, kGStreamerText, 1.25},
    {kWriteApi, kGStreamerText, 0}, // nothing to reach: the records and the tree are its work too
};

// Ratio of the same round, so that a slow round falls on both sides.
void PrintRatio(const std::vector<Contender>& contenders, const Ratio& ratio)
{
    const auto find = [&](const char* name)
    {
        return std::find_if(contenders.begin(), contenders.end(),
                            [name](const Contender& contender) { return contender.name == name; });
    };
    const auto above = find(ratio.above);
    const auto below = find(ratio.below);
    if (above == contenders.end() || below == contenders.end()) return;
    std::vector<double> ratios;
    for (size_t round = 0; round < kRounds; ++round)
        ratios.push_back(above->nanoseconds[round] / below->nanoseconds[round]);
    std::printf("  ratio %-66s %6.3f", (ratio.above + std::string(" : ") + ratio.below).c_str(), Median(ratios));
    if (ratio.toReach > 0)
        std::printf("  to reach %.2f\n", ratio.toReach);
    else
        std::printf("\n");
}

void PrintCosts(const char* words, const std::string& description, FigureFile& figures)
{
    const PlainRuleLoop plain;
    const auto network = std::make_unique<ZEFA_STREAM_NETWORK_CONFIG>();
    ZEFA_ESSENCE_CONFIG essence{};
    ZEFA_SDP_INFO info{};
    char buffer[10000];
    nlohmann::json tree = ParseSdpText(description);
    if (plain.Parse(description) != tree || plain.Write(tree) != WriteSdpText(tree))
        std::printf("The plain loop gives another result: the figures compare different work.\n");

    std::vector<Contender> contenders{
        {kParse, [&] { ParseSdpText(description); }},
        {kPlainParse, [&] { plain.Parse(description); }},
        {kWrite, [&] { WriteSdpText(tree); }},
        {kPlainWrite, [&] { plain.Write(tree); }},
        {kRead, [&] { ZEFA_ReadSDP(description.c_str(), nullptr, network.get(), &essence, &info); }},
        {kWriteApi,
         [&]
         {
             uint32_t size = sizeof buffer;
             ZEFA_WriteSDP(network.get(), &essence, &info, buffer, &size);
         }},
    };
    for (Contender& peer : MakePeers(description))
        contenders.push_back(std::move(peer));
    if (figures.OnlyLists())
    {
        for (const Contender& contender : contenders)
            figures.Add(std::string(words) + ": " + contender.name, 0);
        return;
    }
    for (int round = 0; round < kRounds; ++round)
        for (Contender& contender : contenders)
            contender.nanoseconds.push_back(bench::TakeTurn(contender.work, kTurn));

    std::printf("%s: %zu bytes; median of %d rounds\n", words, description.size(), kRounds);
    for (const Contender& contender : contenders)
    {
        std::printf("  %-46s %8.2f us\n", contender.name.c_str(), Median(contender.nanoseconds) / 1000);
        figures.Add(std::string(words) + ": " + contender.name, Median(contender.nanoseconds));
    }
    for (const Ratio& ratio : kRatios)
        PrintRatio(contenders, ratio);
}

double ThreadSeconds()
{
    timespec used{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
    return static_cast<double>(used.tv_sec) + 1e-9 * static_cast<double>(used.tv_nsec);
}

void ReadWhole(const std::string& text)
{
    static ZEFA_STREAM_NETWORK_CONFIG network; // much larger than the least text
    ZEFA_ESSENCE_CONFIG essence{};
    ZEFA_SDP_INFO info{};
    if (ZEFA_ReadSDP(text.c_str(), nullptr, &network, &essence, &info) != ZEFA_NO_ERROR)
        throw std::runtime_error("ZEFA_ReadSDP does not take a description of " + std::to_string(text.size()) +
                                 " bytes");
}

// Adds what GStreamer makes of the text, under the names that are wanted.
std::vector<Contender> WithPeers(std::vector<Contender> works, const std::string& text,
                                 const std::vector<std::string>& wanted)
{
    for (Contender& peer : MakeGStreamerPeers(text))
        if (std::find(wanted.begin(), wanted.end(), peer.name) != wanted.end()) works.push_back(std::move(peer));
    return works;
}

std::vector<Contender> TreeBothWays(const std::string& text)
{
    const auto tree = std::make_shared<nlohmann::json>(ParseSdpText(text));
    return WithPeers(
        {
            {kParse, [text] { ParseSdpText(text); }},
            {kWrite, [tree] { WriteSdpText(*tree); }},
            {kCopyTree,
             [tree] { const nlohmann::json copy(*tree); }}, // takes memory and gives it back, as a parse must
        },
        text, {kGStreamerParse, kGStreamerText});
}

std::vector<Contender> WholeRead(const std::string& text)
{
    return WithPeers({{kRead, [text] { ReadWhole(text); }}}, text, {kGStreamerCaps});
}

// A text that grows by repeating its piece, and what is done with it; the works keep what they need of it.
struct Growing
{
    const char* words;
    std::string head, piece, tail;
    std::vector<Contender> (*makeWorks)(const std::string& text);

    std::string MakeText(size_t bytes) const
    {
        std::string text = head;
        while (text.size() + piece.size() <= std::max(bytes, head.size() + piece.size()))
            text += piece;
        return text + tail;
    }
};

const Growing kGrowing[] = {
    {"Descriptions behind each other", "", kTwoPaths, "", TreeBothWays},
    {"One format line", "a=fmtp:96 ", "key=value; ", "", TreeBothWays},
    {"One line that almost matches", "a=simulcast:send ", "send 1", "!", TreeBothWays},
    {"One line of repeated groups", "a=imageattr:97 send ", "[x=1] ", "", TreeBothWays},
    {"Media behind each other", kSession, Media("1", ""), "", WholeRead},
};

struct Size
{
    size_t bytes;
    const char* told; // in the name of the figure; null: printed alone
    size_t textBytes = 0;
    std::vector<Contender> works{};
};

// Each turn takes a megabyte, in texts of one size. The sizes take turns within a round and processor time counts, so
// that what else the machine does falls on all of them. The least and the largest are figures of the table.
void PrintGrowth(const Growing& growing, FigureFile& figures)
{
    constexpr size_t kTurnBytes = 1'000'000;
    constexpr int kGrowthRounds = 9;
    const auto nameOf = [&](const Size& size, const Contender& work)
    { return std::string(growing.words) + ", " + size.told + ": " + work.name + ", a byte"; };
    Size sizes[] = {{1'000, "1 kB"}, {10'000, nullptr}, {100'000, nullptr}, {kTurnBytes, "1 MB"}};
    if (figures.OnlyLists())
    {
        for (const Size& size : sizes)
            for (const Contender& work : growing.makeWorks(growing.MakeText(0)))
                if (size.told) figures.Add(nameOf(size, work), 0);
        return;
    }
    for (Size& size : sizes)
    {
        const std::string text = growing.MakeText(size.bytes);
        size.textBytes = text.size();
        size.works = growing.makeWorks(text);
    }
    for (int round = 0; round < kGrowthRounds; ++round)
        for (Size& size : sizes)
            for (Contender& work : size.works)
            {
                const size_t texts = kTurnBytes / size.bytes;
                const double before = ThreadSeconds();
                for (size_t i = 0; i < texts; ++i)
                    work.work();
                work.nanoseconds.push_back((ThreadSeconds() - before) * 1e9 /
                                           static_cast<double>(texts * size.textBytes)); // of a byte
            }

    std::printf("%s, ns a byte of text\n  %-46s", growing.words, "");
    for (const Size& size : sizes)
        std::printf(" %7zu", size.textBytes);
    for (size_t i = 0; i < sizes[0].works.size(); ++i)
    {
        std::printf("\n  %-46s", sizes[0].works[i].name.c_str());
        for (const Size& size : sizes)
        {
            const double nanoseconds = Median(size.works[i].nanoseconds);
            std::printf(" %7.3f", nanoseconds);
            if (size.told) figures.Add(nameOf(size, size.works[i]), nanoseconds);
        }
    }
    std::printf("\n");
}
} // namespace

int main(int count, char** arguments)
{
    FigureFile figures(count, arguments);
    if (!figures.OnlyLists()) std::printf("Machine: %u processors\n", std::thread::hardware_concurrency());
    PrintCosts("One path", kOnePath, figures);
    PrintCosts("Two paths", kTwoPaths, figures);
    for (const Growing& growing : kGrowing)
        PrintGrowth(growing, figures);
    return figures.Write() ? 0 : 1;
}
