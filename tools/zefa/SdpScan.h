// A light look at the lines of a description, for places: line and column of what the reader or a hint speaks of. It
// knows letters, attributes and format parameters, and judges nothing.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zefa
{

struct Place
{
    size_t Line = 0; // from 1; 0: no place
    size_t Column = 0;
};

struct SdpLine
{
    size_t Number = 0;        // from 1
    char Letter = 0;          // 0 for what is no "x=" line
    std::string_view Content; // behind "x="

    // Where a piece of Content begins.
    Place At(std::string_view piece) const;
    Place Start() const { return {Number, 1}; }
};

struct SdpAttribute
{
    const SdpLine* Line = nullptr;
    std::string_view Value; // behind "name:"
};

// "key=value" or "key" in the format parameters of an "fmtp" line.
struct SdpParameter
{
    std::string_view Key, Value;
    bool HasValue = false;
};

struct SdpSection // the session, or one media
{
    std::vector<SdpLine> Lines;

    std::vector<SdpAttribute> Attributes(std::string_view name) const;
    std::optional<SdpAttribute> First(std::string_view name) const;
    const SdpLine* Find(char letter) const;
    // Of a media: "video" of "m=video 5000 RTP/AVP 96".
    std::string_view Kind() const;
    // Of a media: "raw" of "a=rtpmap:96 raw/90000"; empty without one.
    std::string_view Encoding() const;
};

class SdpScan
{
public:
    explicit SdpScan(std::string text);
    SdpScan(const SdpScan&) = delete;
    SdpScan& operator=(const SdpScan&) = delete;

    SdpSection Session;
    std::vector<SdpSection> Medias;

    // The session's lines, those of the media and those of its other paths. What is left out leaves an empty line, so
    // that line numbers stay.
    std::string Cut(size_t media) const;
    // Numbers of the media that a line "a=group:DUP" names together with `media`, itself among them, in order.
    std::vector<size_t> PathsWith(size_t media) const;

private:
    std::string Text;
};

// The format parameters of an "fmtp" attribute's value "96 a=b; c".
std::vector<SdpParameter> FormatParameters(std::string_view value);
std::optional<SdpParameter> FindParameter(const std::vector<SdpParameter>& parameters, std::string_view key);

std::vector<std::string_view> SplitBy(std::string_view text, char separator);
std::string_view TrimBlanks(std::string_view text);

} // namespace zefa
