// A module whose two sinks write into one list, so that a test sees the order of all messages.
#pragma once

#include "sdp/ISdpModule.h"

#include <gtest/gtest.h>

#include <exception>
#include <memory>
#include <string>
#include <vector>

/// A module that reads one text. Messages begin with "error: " or "warning: ".
struct Reading
{
    explicit Reading(const std::string& text)
    {
        using namespace quill::sdp_module;
        Module = CreateSdpModule([this](const std::string& message) { Messages.push_back("error: " + message); },
                                 [this](const std::string& message) { Messages.push_back("warning: " + message); });
        Code = Module->Read(text);
    }
    Reading(const Reading&) = delete;
    Reading& operator=(const Reading&) = delete;

    quill::sdp_module::SdpSession Session() const { return Module->GetSession(); }
    const quill::sdp_module::SdpMediaList& Medias() const { return Module->GetMedias(); }

    template <class Record>
    const Record& Media(size_t index) const
    {
        return dynamic_cast<const Record&>(*Medias().at(index));
    }

    std::vector<std::string> Messages;
    std::unique_ptr<quill::sdp_module::ISdpModule> Module;
    uint32_t Code = 0;
};

/// The text of the exception that reading raises; its type is part of the test.
template <class Exception>
std::string RaisedBy(const std::string& text)
{
    try
    {
        const Reading reading(text);
    }
    catch (const Exception& error)
    {
        return error.what();
    }
    return "nothing was thrown";
}

using MessageList = std::vector<std::string>;

inline const std::string kVideoConfig = "sampling=YCbCr-4:2:2; width=1920; height=1080; exactframerate=50; depth=10; "
                                        "TCS=SDR; colorimetry=BT709; PM=2110GPM; SSN=ST2110-20:2017";

/// A video media of port 20000 with this config and these lines behind it.
inline std::string VideoMedia(const std::string& config = kVideoConfig, const std::string& lines = "")
{
    return "m=video 20000 RTP/AVP 96\nc=IN IP4 239.0.0.1\na=rtpmap:96 raw/90000\na=fmtp:96 " + config + "\n" + lines;
}

/// An audio media of port 30000 with this map, packet time and lines behind it.
inline std::string AudioMedia(const std::string& map = "97 L24/48000/2", const std::string& lines = "a=ptime:1\n")
{
    return "m=audio 30000 RTP/AVP 97\nc=IN IP4 239.0.0.2\na=rtpmap:" + map + "\n" + lines;
}
