// Programs that read and write descriptions too, as far as they are installed.
#include "Peers.h"

#ifdef ZEFALINE_HAVE_GSTREAMER_SDP
#include <gst/sdp/gstsdpmessage.h>
#endif
#ifdef ZEFALINE_HAVE_LIBAVFORMAT
extern "C"
{
#include <libavformat/avformat.h>
}
#endif

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>

namespace
{
#ifdef ZEFALINE_HAVE_GSTREAMER_SDP
GstSDPMessage* ParseWithGStreamer(const std::string& description)
{
    GstSDPMessage* message = nullptr;
    gst_sdp_message_new(&message);
    gst_sdp_message_parse_buffer(reinterpret_cast<const guint8*>(description.data()),
                                 static_cast<guint>(description.size()), message);
    return message;
}

void ReadCapsWithGStreamer(const std::string& description)
{
    GstSDPMessage* const message = ParseWithGStreamer(description);
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

#ifdef ZEFALINE_HAVE_LIBAVFORMAT
struct MemoryText
{
    const std::string& text;
    size_t at = 0;
};

int ReadMemory(void* opaque, uint8_t* buffer, int room)
{
    auto& memory = *static_cast<MemoryText*>(opaque);
    const size_t bytes = std::min(memory.text.size() - memory.at, static_cast<size_t>(room));
    if (bytes == 0) return AVERROR_EOF;
    std::memcpy(buffer, memory.text.data() + memory.at, bytes);
    memory.at += bytes;
    return static_cast<int>(bytes);
}

// With its own input and output the demuxer opens no port. False if the description was refused.
bool OpenWithLibavformat(const std::string& description)
{
    constexpr size_t kBuffer = 4096;
    MemoryText memory{description};
    AVIOContext* input = avio_alloc_context(static_cast<uint8_t*>(av_malloc(kBuffer)), static_cast<int>(kBuffer), 0,
                                            &memory, ReadMemory, nullptr, nullptr);
    AVFormatContext* format = avformat_alloc_context();
    format->pb = input;
    AVDictionary* options = nullptr;
    av_dict_set(&options, "sdp_flags", "custom_io", 0);
    const bool opened = avformat_open_input(&format, "", av_find_input_format("sdp"), &options) == 0;
    av_dict_free(&options);
    avformat_close_input(&format);
    av_freep(&input->buffer);
    avio_context_free(&input);
    return opened;
}
#endif
} // namespace

std::vector<Contender> MakeGStreamerPeers(const std::string& description)
{
    std::vector<Contender> peers;
#ifdef ZEFALINE_HAVE_GSTREAMER_SDP
    const std::shared_ptr<GstSDPMessage> message(ParseWithGStreamer(description), gst_sdp_message_free);
    peers.push_back({kGStreamerParse, [description] { gst_sdp_message_free(ParseWithGStreamer(description)); }});
    peers.push_back({kGStreamerCaps, [description] { ReadCapsWithGStreamer(description); }});
    peers.push_back({kGStreamerText, [message] { g_free(gst_sdp_message_as_text(message.get())); }});
#else
    static_cast<void>(description);
#endif
    return peers;
}

std::vector<Contender> MakePeers(const std::string& description)
{
    std::vector<Contender> peers = MakeGStreamerPeers(description);
    if (peers.empty()) std::printf("GStreamer's SDP library is not installed: no comparison with it\n");
#ifdef ZEFALINE_HAVE_LIBAVFORMAT
    av_log_set_level(AV_LOG_QUIET);
    if (OpenWithLibavformat(description))
        peers.push_back({kLibavformat, [description] { OpenWithLibavformat(description); }});
    else
        std::printf("libavformat refuses the description: no comparison with it\n");
#else
    std::printf("libavformat is not installed: no comparison with it\n");
#endif
    return peers;
}
