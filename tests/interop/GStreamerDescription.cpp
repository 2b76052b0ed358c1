// What GStreamer makes of a description: the caps of each media on a line, an empty line, and the text it writes
// itself.
//   gstreamer_description FILE
#include <gst/sdp/gstsdpmessage.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

int main(int count, char** arguments)
{
    if (count != 2) return 2;
    gst_init(nullptr, nullptr);
    std::ifstream file(arguments[1], std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    GstSDPMessage* message = nullptr;
    gst_sdp_message_new(&message);
    if (gst_sdp_message_parse_buffer(reinterpret_cast<const guint8*>(text.data()), static_cast<guint>(text.size()),
                                     message) != GST_SDP_OK)
        return 1;
    for (guint i = 0; i < gst_sdp_message_medias_len(message); ++i)
    {
        const GstSDPMedia* const media = gst_sdp_message_get_media(message, i);
        GstCaps* const caps = gst_sdp_media_get_caps_from_media(media, 96);
        gst_sdp_media_attributes_to_caps(media, caps);
        gchar* const words = gst_caps_to_string(caps);
        std::puts(words);
        g_free(words);
        gst_caps_unref(caps);
    }
    gchar* const written = gst_sdp_message_as_text(message);
    std::printf("\n%s", written);
    g_free(written);
    gst_sdp_message_free(message);
    return 0;
}
