// What reading a description costs, beside a plain loop over the rules and beside GStreamer where it is installed. All
// contenders take turns in one run, so that the load of the machine falls on each alike; compare the ratios.
#include "PlainRuleLoop.h"

#include "zefaline/sdp.h"

#include "sdp/SdpParser.h"

#ifdef ZEFALINE_HAVE_GSTREAMER_SDP
#include <gst/sdp/gstsdpmessage.h>
#endif

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace
{
constexpr int kRounds = 60;
constexpr auto kTurn = std::chrono::milliseconds(4);

const std::string kDescription =
    "v=0\r\n"
    "o=- 1699999999 1700000000 IN IP4 192.0.2.10\r\n"
    "s=Studio 1 camera 3\r\n"
    "i=1080p59.94, two paths\r\n"
    "t=0 0\r\n"
    "a=group:DUP first second\r\n"
    "m=video 20000 RTP/AVP 96\r\n"
    "c=IN IP4 239.20.1.3/64\r\n"
    "a=source-filter: incl IN IP4 239.20.1.3 192.0.2.10\r\n"
    "a=rtpmap:96 raw/90000\r\n"
    "a=fmtp:96 sampling=YCbCr-4:2:2; width=1920; height=1080; exactframerate=60000/1001; "
    "depth=10; TCS=SDR; colorimetry=BT709; PM=2110GPM; SSN=ST2110-20:2017; TP=2110TPN; \r\n"
    "a=mediaclk:direct=0\r\n"
    "a=ts-refclk:ptp=IEEE1588-2008:0A-1B-2C-FF-FE-3D-4E-5F:127\r\n"
    "a=mid:first\r\n"
    "m=video 20000 RTP/AVP 96\r\n"
    "c=IN IP4 239.20.2.3/64\r\n"
    "a=source-filter: incl IN IP4 239.20.2.3 192.0.2.11\r\n"
    "a=rtpmap:96 raw/90000\r\n"
    "a=fmtp:96 sampling=YCbCr-4:2:2; width=1920; height=1080; exactframerate=60000/1001; "
    "depth=10; TCS=SDR; colorimetry=BT709; PM=2110GPM; SSN=ST2110-20:2017; TP=2110TPN; \r\n"
    "a=mediaclk:direct=0\r\n"
    "a=ts-refclk:ptp=IEEE1588-2008:0A-1B-2C-FF-FE-3D-4E-5F:127\r\n"
    "a=mid:second\r\n";

struct Contender
{
    const char* name;
    std::function<void()> work;
    std::vector<double> microseconds{}; // one for each round
};

// Calls the work for one turn and gives the time of a call.
double TakeTurn(const std::function<void()>& work)
{
    using Clock = std::chrono::steady_clock;
    const auto begin = Clock::now();
    auto now = begin;
    size_t calls = 0;
    for (; now - begin < kTurn; now = Clock::now(), ++calls)
        work();
    return std::chrono::duration<double, std::micro>(now - begin).count() / static_cast<double>(calls);
}

double Median(std::vector<double> values)
{
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2), values.end());
    return values[values.size() / 2];
}

#ifdef ZEFALINE_HAVE_GSTREAMER_SDP
GstSDPMessage* ParseWithGStreamer()
{
    GstSDPMessage* message = nullptr;
    gst_sdp_message_new(&message);
    gst_sdp_message_parse_buffer(reinterpret_cast<const guint8*>(kDescription.data()),
                                 static_cast<guint>(kDescription.size()), message);
    return message;
}

void ReadCapsWithGStreamer()
{
    GstSDPMessage* const message = ParseWithGStreamer();
    for (guint i = 0; i < gst_sdp_message_medias_len(message); ++i)
    {
        const GstSDPMedia* const media = gst_sdp_message_get_media(message, i);
        GstCaps* const caps = gst_sdp_media_get_caps_from_media(media, 96);
        gst_sdp_message_attributes_to_caps(message, caps);
        gst_sdp_media_attributes_to_caps(media, caps);
        gst_caps_unref(caps);
    }
    gst_sdp_message_free(message);
}
#endif

void PrintCosts()
{
    const PlainRuleLoop plain;
    const auto network = std::make_unique<ZEFA_STREAM_NETWORK_CONFIG>();
    ZEFA_ESSENCE_CONFIG essence{};
    ZEFA_SDP_INFO info{};
    if (plain.Parse(kDescription) != quill::sdp_module::ParseSdpText(kDescription))
        std::printf("The two trees differ: the figures compare different work.\n");

    std::vector<Contender> contenders{
        {"text to tree", [] { quill::sdp_module::ParseSdpText(kDescription); }},
        {"text to tree, every row tried by std::regex", [&] { plain.Parse(kDescription); }},
        {"ZEFA_ReadSDP", [&] { ZEFA_ReadSDP(kDescription.c_str(), nullptr, network.get(), &essence, &info); }},
#ifdef ZEFALINE_HAVE_GSTREAMER_SDP
        {"GStreamer, parse", [] { gst_sdp_message_free(ParseWithGStreamer()); }},
        {"GStreamer, parse and caps of each media", ReadCapsWithGStreamer},
#endif
    };
    for (int round = 0; round < kRounds; ++round)
        for (Contender& contender : contenders)
            contender.microseconds.push_back(TakeTurn(contender.work));

    std::printf("One description of %zu bytes, 22 lines, 2 media; median of %d rounds\n", kDescription.size(), kRounds);
    for (const Contender& contender : contenders)
        std::printf("  %-46s %8.2f us\n", contender.name, Median(contender.microseconds));

    // Ratios of the same round, so that a slow round falls on both sides.
    const auto ratio = [&](size_t above, size_t below, const char* words)
    {
        std::vector<double> ratios;
        for (size_t round = 0; round < kRounds; ++round)
            ratios.push_back(contenders[above].microseconds[round] / contenders[below].microseconds[round]);
        std::printf("  ratio %-52s %6.3f\n", words, Median(ratios));
    };
    ratio(0, 1, "text to tree : every row tried by std::regex");
#ifdef ZEFALINE_HAVE_GSTREAMER_SDP
    ratio(0, 3, "text to tree : GStreamer's parse");
    ratio(2, 4, "ZEFA_ReadSDP : GStreamer's parse and caps");
#else
    std::printf("  GStreamer's SDP library is not installed: no comparison with it\n");
#endif
}

void PrintGrowth(const char* words, const std::function<std::string(size_t)>& make)
{
    std::printf("%s\n", words);
    for (const size_t bytes : {size_t{1'000}, size_t{10'000}, size_t{100'000}, size_t{1'000'000}})
    {
        const std::string text = make(bytes);
        std::vector<double> microseconds;
        for (int i = 0; i < 9; ++i)
            microseconds.push_back(TakeTurn([&] { quill::sdp_module::ParseSdpText(text); }));
        const double median = Median(microseconds);
        std::printf("  %8zu bytes %10.1f us %8.3f ns a byte\n", text.size(), median,
                    1000 * median / static_cast<double>(text.size()));
    }
}

std::string Repeat(const std::string& head, const std::string& piece, size_t bytes)
{
    std::string text = head;
    while (text.size() + piece.size() <= std::max(bytes, head.size() + piece.size()))
        text += piece;
    return text;
}
} // namespace

int main()
{
    std::printf("Machine: %u processors\n", std::thread::hardware_concurrency());
    PrintCosts();
    PrintGrowth("Text to tree, descriptions behind each other",
                [](size_t bytes) { return Repeat("", kDescription, bytes); });
    PrintGrowth("Text to tree, one format line",
                [](size_t bytes) { return Repeat("a=fmtp:96 ", "key=value; ", bytes); });
    PrintGrowth("Text to tree, one line that almost matches",
                [](size_t bytes) { return Repeat("a=simulcast:send ", "send 1", bytes) + "!"; });
    PrintGrowth("Text to tree, one line of repeated groups",
                [](size_t bytes) { return Repeat("a=imageattr:97 send ", "[x=1] ", bytes); });
}
