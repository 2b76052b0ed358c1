// Lines, attributes and parameters of a description.
#include "SdpScan.h"

#include <algorithm>

namespace zefa
{

std::vector<std::string_view> SplitBy(std::string_view text, char separator)
{
    std::vector<std::string_view> pieces;
    for (size_t begin = 0, end = 0; end != std::string_view::npos; begin = end + 1)
    {
        end = text.find(separator, begin);
        pieces.push_back(text.substr(begin, end == std::string_view::npos ? end : end - begin));
    }
    return pieces;
}

std::string_view TrimBlanks(std::string_view text)
{
    const size_t first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

Place SdpLine::At(std::string_view piece) const
{
    if (piece.data() < Content.data() || piece.data() > Content.data() + Content.size()) return Start();
    const size_t before = Letter ? 3 : 1; // "x=" and columns from 1
    return {Number, static_cast<size_t>(piece.data() - Content.data()) + before};
}

std::vector<SdpAttribute> SdpSection::Attributes(std::string_view name) const
{
    std::vector<SdpAttribute> found;
    for (const SdpLine& line : Lines)
        if (line.Letter == 'a' && line.Content.starts_with(name) &&
            (line.Content.size() == name.size() || line.Content[name.size()] == ':'))
            found.push_back({&line, line.Content.substr(std::min(name.size() + 1, line.Content.size()))});
    return found;
}

std::optional<SdpAttribute> SdpSection::First(std::string_view name) const
{
    const auto found = Attributes(name);
    return found.empty() ? std::nullopt : std::optional(found.front());
}

const SdpLine* SdpSection::Find(char letter) const
{
    const auto found =
        std::find_if(Lines.begin(), Lines.end(), [=](const SdpLine& line) { return line.Letter == letter; });
    return found == Lines.end() ? nullptr : &*found;
}

std::string_view SdpSection::Kind() const
{
    const SdpLine* const line = Find('m');
    return line ? SplitBy(line->Content, ' ').front() : std::string_view();
}

std::string_view SdpSection::Encoding() const
{
    const auto map = First("rtpmap");
    if (!map) return {};
    const auto words = SplitBy(map->Value, ' ');
    return words.size() < 2 ? std::string_view() : SplitBy(words[1], '/').front();
}

SdpScan::SdpScan(std::string text) : Text(std::move(text))
{
    SdpSection* section = &Session;
    size_t number = 0;
    for (std::string_view line : SplitBy(Text, '\n'))
    {
        if (line.ends_with('\r')) line.remove_suffix(1);
        ++number;
        const bool known = line.size() >= 2 && line[0] >= 'a' && line[0] <= 'z' && line[1] == '=';
        if (known && line[0] == 'm') section = &Medias.emplace_back();
        if (known)
            section->Lines.push_back({number, line[0], line.substr(2)});
        else if (!line.empty())
            section->Lines.push_back({number, 0, line});
    }
}

std::vector<size_t> SdpScan::PathsWith(size_t media) const
{
    const auto own = Medias.at(media).First("mid");
    for (const SdpAttribute& group : Session.Attributes("group"))
    {
        const auto words = SplitBy(group.Value, ' ');
        if (!own || words.front() != "DUP" || std::find(words.begin() + 1, words.end(), own->Value) == words.end())
            continue;
        std::vector<size_t> paths;
        for (size_t i = 0; i < Medias.size(); ++i)
            if (const auto mid = Medias[i].First("mid");
                mid && std::find(words.begin() + 1, words.end(), mid->Value) != words.end())
                paths.push_back(i);
        return paths;
    }
    return {media};
}

std::string SdpScan::Cut(size_t media) const
{
    std::string text;
    size_t number = 1;
    const auto add = [&](const SdpSection& section)
    {
        for (const SdpLine& line : section.Lines)
        {
            text.append(line.Number - number, '\n');
            text += (line.Letter ? std::string{line.Letter, '='} : "") + std::string(line.Content);
            number = line.Number;
        }
    };
    add(Session);
    for (const size_t path : PathsWith(media))
        add(Medias[path]);
    return text + "\n";
}

std::vector<SdpParameter> FormatParameters(std::string_view value)
{
    std::vector<SdpParameter> parameters;
    const size_t blank = value.find(' ');
    if (blank == std::string_view::npos) return parameters;
    for (const std::string_view piece : SplitBy(value.substr(blank + 1), ';'))
    {
        const size_t equals = piece.find('=');
        const std::string_view key = TrimBlanks(piece.substr(0, equals));
        if (key.empty()) continue;
        const bool hasValue = equals != std::string_view::npos;
        parameters.push_back({key, hasValue ? TrimBlanks(piece.substr(equals + 1)) : std::string_view(), hasValue});
    }
    return parameters;
}

std::optional<SdpParameter> FindParameter(const std::vector<SdpParameter>& parameters, std::string_view key)
{
    const auto found = std::find_if(parameters.begin(), parameters.end(),
                                    [=](const SdpParameter& parameter) { return parameter.Key == key; });
    return found == parameters.end() ? std::nullopt : std::optional(*found);
}

} // namespace zefa
