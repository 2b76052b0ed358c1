// Hints: what the field does with descriptions and the library's reader does not take, or takes without a word.
#include "Complaints.h"

#include "Options.h"
#include "Words.h"

#include <algorithm>

namespace zefa
{
namespace
{
class Hints
{
public:
    void Add(std::string key, Place where, std::string text)
    {
        List.push_back({Kind::Hint, "zefa", std::move(key), where, std::move(text)});
    }

    std::vector<Complaint> List;
};

bool OneOf(std::string_view text, std::initializer_list<std::string_view> words)
{
    return std::find(words.begin(), words.end(), text) != words.end();
}

std::string Quoted(std::string_view text)
{
    return "\"" + std::string(text) + "\"";
}

bool IsVideo(const SdpSection& media)
{
    return media.Kind() == "video";
}

// The format parameters that the reader takes: those of the first line.
std::vector<SdpParameter> ParametersOf(const SdpSection& media)
{
    const auto format = media.First("fmtp");
    return format ? FormatParameters(format->Value) : std::vector<SdpParameter>{};
}

Place PlaceOf(const SdpSection& media, std::string_view piece)
{
    return media.First("fmtp")->Line->At(piece);
}

bool IsRawVideo(const SdpSection& media)
{
    const auto format = media.First("fmtp");
    return IsVideo(media) && format && format->Value.find("ST2110-20") != std::string_view::npos;
}

void AboutNul(const SdpScan& scan, Hints& hints)
{
    const auto look = [&](const SdpSection& section)
    {
        for (const SdpLine& line : section.Lines)
            if (const size_t at = line.Content.find('\0'); at != std::string_view::npos)
            {
                hints.Add("NUL", line.At(line.Content.substr(at)), "the reader takes the text up to this byte alone");
                return true;
            }
        return false;
    };
    if (!look(scan.Session)) static_cast<void>(std::any_of(scan.Medias.begin(), scan.Medias.end(), look));
}

// The session: a connection or a clock there counts for no media.
void AboutSession(const SdpScan& scan, Hints& hints)
{
    const auto lacking = [&](auto has)
    { return std::any_of(scan.Medias.begin(), scan.Medias.end(), [&](const auto& media) { return !has(media); }); };
    if (const SdpLine* const line = scan.Session.Find('c');
        line && lacking([](const SdpSection& media) { return media.Find('c') != nullptr; }))
        hints.Add("c=", line->Start(),
                  "a connection of the session counts for no media: put a \"c=\" line into each one");
    for (const char* clock : {"ts-refclk", "mediaclk"})
        if (const auto attribute = scan.Session.First(clock);
            attribute && lacking([=](const SdpSection& media) { return media.First(clock).has_value(); }))
            hints.Add(clock, attribute->Line->Start(),
                      "a clock of the session counts for no media: put the line into each one");
    for (const auto& filter : scan.Session.Attributes("source-filter"))
        hints.Add("source-filter", filter.Line->Start(),
                  "source filters are not read: the application sets the sources of its multicast connections");
}

void AboutKinds(const SdpScan& scan, Hints& hints)
{
    for (size_t i = 1; i < scan.Medias.size(); ++i)
    {
        const SdpSection &first = scan.Medias.front(), &media = scan.Medias[i];
        if (media.Kind() != first.Kind() || media.Encoding() != first.Encoding())
            hints.Add("m=", media.Lines.front().Start(),
                      "all media are read as paths of one stream, with the essence of the first, and this one is of "
                      "another kind: take the media one by one (zefa receive --media N)");
    }
}

void AboutMediaLine(const SdpSection& media, Hints& hints)
{
    const SdpLine& line = media.Lines.front();
    const auto words = SplitBy(line.Content, ' ');
    for (size_t i = 3; i < words.size(); ++i)
        if (words[i].empty() || words[i].front() < '0' || words[i].front() > '9')
            return hints.Add("m=", line.At(words[i]),
                             "a payload type that is no number, or a blank to spare, ends the reading with \"invalid "
                             "stoi argument\"");
}

void AboutConnection(const SdpSection& media, Hints& hints)
{
    for (const auto& filter : media.Attributes("source-filter"))
        hints.Add("source-filter", filter.Line->Start(),
                  "source filters are not read: the application sets the sources of its multicast connections");
}

void AboutClocks(const SdpSection& media, Hints& hints)
{
    const auto clocks = media.Attributes("mediaclk");
    if (!clocks.empty())
    {
        const std::string_view word = TrimBlanks(SplitBy(clocks.back().Value, ' ').front());
        if (!OneOf(word, {"direct=0", "sender"}))
            hints.Add("mediaclk", clocks.back().Line->At(clocks.back().Value),
                      "the reader takes \"direct=0\" and \"sender\" and refuses all else without a sentence");
    }
    for (const auto& format : media.Attributes("fmtp"))
        for (const SdpParameter& parameter : FormatParameters(format.Value))
            if (parameter.Key == "TSMODE" && !OneOf(parameter.Value, {"SAMP", "NEW", "PRES"}))
                hints.Add("TSMODE", format.Line->At(parameter.Value),
                          "the reader takes SAMP, NEW and PRES and refuses all else without a sentence");
    const auto references = media.Attributes("ts-refclk");
    if (!references.empty() && references.back().Value.starts_with("localmac") &&
        std::count(references.back().Value.begin(), references.back().Value.end(), '-') != 5)
        hints.Add("ts-refclk", references.back().Line->At(references.back().Value),
                  "localmac wants six pairs of digits with hyphens; anything else ends the reading with an exception");
}

void AboutFormat(const SdpSection& media, Hints& hints)
{
    if (!IsVideo(media)) return;
    const auto format = media.First("fmtp");
    if (!format)
        return hints.Add("fmtp", media.Lines.front().Start(),
                         "video without format parameters ends the reading with an exception; ancillary data wants "
                         "\"exactframerate\" and \"SSN=ST2110-40:2018\" as well");
    const std::string_view value = format->Value;
    if (value.find("ST2110-20") != std::string_view::npos || value.find("ST2110-40") != std::string_view::npos) return;
    const std::string_view encoding = media.Encoding();
    if (encoding == "smpte291")
        hints.Add("SSN", format->Line->Start(),
                  "ancillary data is known by \"SSN=ST2110-40\" alone, not by smpte291: without it the media is left "
                  "out; add \"exactframerate=...; SSN=ST2110-40:2018\"");
    else if (encoding == "raw" || encoding.empty())
        hints.Add("SSN", format->Line->Start(),
                  "video is known by \"SSN=ST2110-20\" alone: without it the media is left out");
    else
        hints.Add("rtpmap", format->Line->Start(),
                  "media of " + Quoted(encoding) + " is left out: the reader knows ST 2110-20 and ST 2110-40 video");
}

struct Unplaced
{
    std::string_view key;
    std::vector<std::string_view> values;
};

// Values that the reader takes and the exported structures cannot say.
void AboutUnplacedValues(const SdpSection& media, Hints& hints)
{
    static const Unplaced kUnplaced[] = {
        {"depth", {"16"}},
        {"sampling", {"YCbCr-4:2:0", "CLYCbCr-4:2:0", "CLYCbCr-4:2:2", "CLYCbCr-4:4:4", "ICtCp-4:2:0", "KEY"}},
        {"PM", {"2110BPM"}},
    };
    if (!IsRawVideo(media)) return;
    for (const SdpParameter& parameter : ParametersOf(media))
    {
        for (const Unplaced& unplaced : kUnplaced)
            if (parameter.Key == unplaced.key &&
                std::find(unplaced.values.begin(), unplaced.values.end(), parameter.Value) != unplaced.values.end())
                hints.Add(std::string(parameter.Key), PlaceOf(media, parameter.Value),
                          Quoted(parameter.Value) + " is read and has no place in the stream's configuration; the "
                                                    "fields behind it stay unsaid, the video standard among them");
        if (parameter.Key == "TCS" && parameter.Value == "LINEAR")
            hints.Add("TCS", PlaceOf(media, parameter.Value), "the reader knows this transfer as \"LINAR\" alone");
        if (OneOf(parameter.Key, {"height", "width"}) &&
            (parameter.Value.empty() || parameter.Value.front() < '0' || parameter.Value.front() > '9'))
            hints.Add(std::string(parameter.Key), PlaceOf(media, parameter.Value),
                      "what is no number ends the reading with \"invalid stoi argument\"");
    }
}

// As the reader takes it: a whole number, or one over 1001.
std::optional<Raster> RasterSaid(const std::vector<SdpParameter>& parameters)
{
    const auto number = [&](std::string_view key)
    {
        const auto parameter = FindParameter(parameters, key);
        return parameter ? DecimalNumber(std::string(parameter->Value)) : std::nullopt;
    };
    const auto width = number("width"), height = number("height");
    const auto rate = FindParameter(parameters, "exactframerate");
    if (!width || !height || !rate) return std::nullopt;
    const auto pieces = SplitBy(rate->Value, '/');
    const auto frames = DecimalNumber(std::string(pieces.front()));
    const bool fractional = pieces.size() == 2 && pieces[1] == "1001";
    if (!frames || (pieces.size() != 1 && !fractional)) return std::nullopt;
    Raster raster;
    raster.Width = static_cast<uint32_t>(*width);
    raster.Height = static_cast<uint32_t>(*height);
    raster.Rate = static_cast<uint32_t>(fractional ? *frames / 1000 : *frames);
    raster.Interlaced = FindParameter(parameters, "interlace").has_value();
    raster.Fractional = fractional;
    return raster;
}

void AboutStandard(const SdpSection& media, Hints& hints)
{
    if (!IsRawVideo(media)) return;
    const auto parameters = ParametersOf(media);
    std::optional<Raster> raster = RasterSaid(parameters);
    if (!raster || FindStandard(*raster)) return;
    const Place place = PlaceOf(media, FindParameter(parameters, "exactframerate")->Value);
    if (raster->Interlaced)
    {
        raster->Rate *= 2;
        if (const auto standard = FindStandard(*raster))
            return hints.Add("exactframerate", place,
                             "this is the frame rate of interlaced video, as SMPTE ST 2110-20 has it; the standards "
                             "here count fields, so that none is found: set " +
                                 StandardName(*standard) + " (--standard of zefa receive and send)");
    }
    hints.Add("exactframerate", place, "no video standard has this raster and rate: the standard stays unknown");
}

void AboutAudio(const SdpSection& media, Hints& hints)
{
    if (media.Kind() != "audio") return;
    if (const auto map = media.First("rtpmap"))
    {
        const auto words = SplitBy(map->Value, ' ');
        const auto parts = SplitBy(words.size() > 1 ? words[1] : std::string_view(), '/');
        if (!OneOf(parts[0], {"L16", "L24"}))
            hints.Add("rtpmap", map->Line->At(parts[0]),
                      "the coding " + Quoted(parts[0]) +
                          " has no place in the stream's configuration: coding, rate, "
                          "packet time and channels stay unsaid");
        else if (parts.size() > 1 && !OneOf(parts[1], {"48000", "96000"}))
            hints.Add("rtpmap", map->Line->At(parts[1]),
                      "the rate " + Quoted(parts[1]) +
                          " has no place in the stream's configuration: rate and channels "
                          "stay unsaid");
    }
    if (const auto times = media.Attributes("ptime"); !times.empty())
    {
        const std::string_view time = TrimBlanks(times.back().Value);
        if (!OneOf(time, {"1", "1.0", "1.00", "1.000", "0.125"}))
            hints.Add("ptime", times.back().Line->At(times.back().Value),
                      "a packet time of " + Quoted(time) +
                          " ms has no place in the stream's configuration, which "
                          "knows 1 and 0.125: packet time, rate and channels stay unsaid");
    }
}

constexpr void (*kMediaHints[])(const SdpSection&, Hints&) = {
    &AboutMediaLine, &AboutConnection, &AboutClocks, &AboutFormat, &AboutUnplacedValues, &AboutStandard, &AboutAudio};
} // namespace

std::vector<Complaint> HintsFor(const SdpScan& scan)
{
    Hints hints;
    AboutNul(scan, hints);
    AboutSession(scan, hints);
    AboutKinds(scan, hints);
    for (const SdpSection& media : scan.Medias)
        for (const auto about : kMediaHints)
            about(media, hints);
    std::stable_sort(hints.List.begin(), hints.List.end(),
                     [](const Complaint& a, const Complaint& b) { return a.Where.Line < b.Where.Line; });
    return std::move(hints.List);
}

} // namespace zefa
