// Programs that read and write descriptions too, as far as they are installed.
#pragma once

#include <functional>
#include <string>
#include <vector>

struct Contender
{
    std::string name;
    std::function<void()> work;
    std::vector<double> nanoseconds{}; // one for each round
};

inline const char* const kGStreamerParse = "GStreamer, parse";
inline const char* const kGStreamerCaps = "GStreamer, parse and caps of each media";
inline const char* const kGStreamerText = "GStreamer, as text";
inline const char* const kLibavformat = "libavformat, open and close";

/// What the installed ones make of the description; each keeps a copy of it. Nothing is sent and no port is opened.
std::vector<Contender> MakePeers(const std::string& description);
/// GStreamer alone, which takes a text and a line of any length.
std::vector<Contender> MakeGStreamerPeers(const std::string& description);
