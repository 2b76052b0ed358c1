// What the reader and the writer say, and where in the description it is.
#include "Complaints.h"

#include "Options.h"

#include <algorithm>
#include <map>

namespace zefa
{
namespace
{
using Pieces = std::vector<std::string_view>;

struct KeyWord
{
    std::string_view said; // in the reader's sentence
    const char* key;       // in the description
};
constexpr KeyWord kMissingKeys[] = {{"bit depth", "depth"}, {"framerate", "exactframerate"}, {"packing mode", "PM"}};

std::string KeyOf(std::string_view said)
{
    const auto found = std::find_if(std::begin(kMissingKeys), std::end(kMissingKeys),
                                    [=](const KeyWord& word) { return word.said == said; });
    return found == std::end(kMissingKeys) ? std::string(said) : found->key;
}

constexpr size_t kMostRepeats = 100; // each one is a walk over all media before it

// Where to look, and for which place: a sentence that comes again speaks of the next media that fits.
struct Search
{
    const SdpScan& Scan;
    size_t Repeat = 0;
};

template <class Find>
Place InMedias(const Search& search, Find find)
{
    Place last;
    size_t skip = search.Repeat;
    for (const SdpSection& media : search.Scan.Medias)
    {
        const Place place = find(media);
        if (place.Line == 0) continue;
        last = place;
        if (skip-- == 0) break;
    }
    return last;
}

// The format parameters that stand in the sentence, as its last piece or its only one.
Place OfConfig(const Search& search, const Pieces& pieces)
{
    const std::string_view config = pieces.size() > 1 ? pieces[1] : pieces[0];
    return InMedias(search,
                    [=](const SdpSection& media)
                    {
                        for (const SdpAttribute& format : media.Attributes("fmtp"))
                            if (const size_t at = format.Value.find(config); at != std::string_view::npos)
                                return format.Line->At(format.Value.substr(at));
                        return Place();
                    });
}

Place OfVideoConfig(const Search& search, const Pieces& pieces)
{
    return OfConfig(search, {pieces[0]});
}

// A parameter and its value.
Place OfParameter(const Search& search, const Pieces& pieces)
{
    return InMedias(search,
                    [&](const SdpSection& media)
                    {
                        for (const SdpAttribute& format : media.Attributes("fmtp"))
                            for (const SdpParameter& parameter : FormatParameters(format.Value))
                                if (parameter.Key == pieces[0] && parameter.Value == pieces[1])
                                    return format.Line->At(parameter.Value);
                        return Place();
                    });
}

// The number of a media.
const SdpSection* MediaNumbered(const Search& search, const Pieces& pieces)
{
    const auto index = DecimalNumber(std::string(pieces[0]));
    return index && *index < search.Scan.Medias.size() ? &search.Scan.Medias[*index] : nullptr;
}

Place OfMedia(const Search& search, const Pieces& pieces)
{
    const SdpSection* const media = MediaNumbered(search, pieces);
    return media ? media->Lines.front().Start() : Place();
}

Place OfDestination(const Search& search, const Pieces& pieces)
{
    const SdpSection* const media = MediaNumbered(search, pieces);
    const SdpLine* const line = media ? media->Find('c') : nullptr;
    return line ? line->Start() : Place();
}

Place OfOrigin(const Search& search, const Pieces&)
{
    const SdpLine* const line = search.Scan.Session.Find('o');
    return line ? line->Start() : Place();
}

// The first "o=" or "c=" line that has the text in it, that of the session before those of the medias.
Place OfAddressText(const Search& search, std::string_view text)
{
    const auto find = [=](const SdpSection& section)
    {
        for (const SdpLine& line : section.Lines)
            if (line.Letter == 'o' || line.Letter == 'c')
                if (const size_t at = line.Content.find(text); at != std::string_view::npos)
                    return line.At(line.Content.substr(at));
        return Place();
    };
    const Place place = find(search.Scan.Session);
    return place.Line != 0 ? place : InMedias(search, find);
}

Place OfAddress(const Search& search, const Pieces& pieces)
{
    return OfAddressText(search, pieces[0]);
}

Place OfIpVersion(const Search& search, const Pieces& pieces)
{
    return OfAddressText(search, "IP" + std::string(pieces[0]));
}

// A reference clock whose text is the sentence's last piece.
Place OfClockText(const Search& search, std::string_view text)
{
    return InMedias(search,
                    [=](const SdpSection& media)
                    {
                        const auto clocks = media.Attributes("ts-refclk");
                        if (clocks.empty()) return Place(); // the last one counts
                        const size_t at = clocks.back().Value.find(text);
                        if (at == std::string_view::npos) return Place();
                        return clocks.back().Line->At(clocks.back().Value.substr(at));
                    });
}

Place OfClock(const Search& search, const Pieces& pieces)
{
    return OfClockText(search, pieces[0]);
}

Place OfClockBehindItsKind(const Search& search, const Pieces& pieces)
{
    return OfClockText(search, pieces[1]);
}

// The second line of an attribute in one media.
Place OfSecond(const Search& search, const Pieces& pieces)
{
    return InMedias(search,
                    [&](const SdpSection& media)
                    {
                        const auto found = media.Attributes(pieces[0]);
                        return found.size() > 1 ? found[1].Line->Start() : Place();
                    });
}

// A media of a kind without an attribute.
Place OfMediaWithout(const Search& search, const Pieces& pieces)
{
    return InMedias(search,
                    [&](const SdpSection& media)
                    {
                        const bool without = media.Kind() == pieces[1] && !media.First(pieces[0]);
                        return without ? media.Lines.front().Start() : Place();
                    });
}

Place OfAudioMap(const Search& search, const Pieces&)
{
    return InMedias(search,
                    [](const SdpSection& media)
                    {
                        const auto map = media.First("rtpmap");
                        return map && media.Kind() == "audio" ? map->Line->Start() : Place();
                    });
}

struct SentenceRule
{
    std::string_view pattern;
    const char* key; // null: the first piece, as the description spells it
    Place (*find)(const Search& search, const Pieces& pieces);
};

// The reader's sentences that name something of the description. The first row that fits counts.
constexpr SentenceRule kSentences[] = {
    {R"(Unsupported % value "%".)", nullptr, &OfParameter},
    {"The % value is missing in the following config string : %", nullptr, &OfConfig},
    {"TCS property was not found in the following config string :%. Default value SDR was set.", "TCS", &OfConfig},
    {R"(The configuration video media "%" could not be parsed. %)", "SSN", &OfVideoConfig},
    {"The media with index % as an unsupported type : %", "m=", &OfMedia},
    {"No UDP port is associated with the media with index %", "m=", &OfMedia},
    {"No payload is associated with the media with index %", "m=", &OfMedia},
    {"Multiple payloads are associated with the media with index %. Only %", "m=", &OfMedia},
    {"No connection is associated with the media with index %", "c=", &OfMedia},
    {"IP address (%) could not be properly converted %", "address", &OfAddress},
    {"Unsupported IP version (%) in connection.", "address", &OfIpVersion},
    {"The destination address for the media n%is not an IPv4 address.", "c=", &OfDestination},
    {"The origin address for the session is not an IPv4 address.", "o=", &OfOrigin},
    {"Incorrectly formated grandmaster id. It should be 8 bytes long : %", "ts-refclk", &OfClock},
    {R"(Incorrectly formated reference clock "%" : %)", "ts-refclk", &OfClockBehindItsKind},
    {R"(Unsupported refclock type : %. Only "%)", "ts-refclk", &OfClock},
    {R"(Multiple "%" (%)", nullptr, &OfSecond},
    {R"(No "%" attribute was found for % media : %)", nullptr, &OfMediaWithout},
    {R"(The % value is not present in the "rtpmap" field : %)", "rtpmap", &OfAudioMap},
};

const char* WordOf(Kind kind)
{
    switch (kind)
    {
    case Kind::Error: return "error";
    case Kind::Warning: return "warning";
    case Kind::Hint: break;
    }
    return "hint";
}
} // namespace

std::optional<std::vector<std::string_view>> MatchPattern(std::string_view pattern, std::string_view text)
{
    std::vector<std::string_view> pieces;
    const auto literals = SplitBy(pattern, '%');
    if (!text.starts_with(literals.front())) return std::nullopt;
    text.remove_prefix(literals.front().size());
    for (size_t i = 1; i < literals.size(); ++i)
    {
        // A literal at the end is searched for from there, so that the text before it may hold it as well.
        const bool last = i + 1 == literals.size();
        const size_t at = !last                         ? text.find(literals[i])
                          : literals[i].empty()         ? text.size()
                          : text.ends_with(literals[i]) ? text.size() - literals[i].size()
                                                        : std::string_view::npos;
        if (at == std::string_view::npos) return std::nullopt;
        pieces.push_back(text.substr(0, at));
        text.remove_prefix(at + literals[i].size());
    }
    return text.empty() ? std::optional(pieces) : std::nullopt;
}

Complaint ComplaintOf(const LogLine& line, const std::string& source, const SdpScan& scan, size_t repeat)
{
    Complaint complaint{line.Priority == "Warning" ? Kind::Warning : Kind::Error, source, "", {}, line.Message};
    for (const SentenceRule& rule : kSentences)
        if (const auto pieces = MatchPattern(rule.pattern, line.Message))
        {
            complaint.Key = rule.key ? rule.key : KeyOf(pieces->front());
            if (repeat < kMostRepeats) complaint.Where = rule.find({scan, repeat}, *pieces);
            break;
        }
    return complaint;
}

std::vector<Complaint> ComplaintsOf(const std::vector<LogLine>& lines, const std::string& source, const SdpScan& scan)
{
    std::vector<Complaint> complaints;
    complaints.reserve(lines.size());
    std::map<std::string_view, size_t> seen;
    for (const LogLine& line : lines)
        complaints.push_back(ComplaintOf(line, source, scan, seen[line.Message]++));
    return complaints;
}

std::string TextOf(const Complaint& complaint, const std::string& file)
{
    const std::string key = complaint.Key.empty() ? "" : ", " + complaint.Key;
    const std::string where = complaint.Where.Line == 0 ? ""
                                                        : ":" + std::to_string(complaint.Where.Line) + ":" +
                                                              std::to_string(complaint.Where.Column);
    return Harmless(file + where + ": " + WordOf(complaint.Severity) + " (" + complaint.Source + ")" + key + ": " +
                    complaint.Text) +
           "\n";
}

Json DocumentOf(const Complaint& complaint)
{
    const auto place = [&](size_t number) { return complaint.Where.Line == 0 ? Json() : Json(number); };
    return {{"line", place(complaint.Where.Line)},
            {"column", place(complaint.Where.Column)},
            {"kind", WordOf(complaint.Severity)},
            {"source", complaint.Source},
            {"key", complaint.Key},
            {"text", complaint.Text}};
}

} // namespace zefa
