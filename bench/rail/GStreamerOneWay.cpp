// shmsink in this process, shmsrc in another. Buffers come from the sink's own allocator, so that no byte is copied,
// and go in and out by bare pads, so that no queue and no further thread stands between.
#include "OneWay.h"
#include "Partner.h"

#include <cstring>
#include <filesystem>
#include <gst/gst.h>
#include <string>

namespace railbench
{
namespace
{
int AnswerLine = -1; // the receiving process's end of the line

GstFlowReturn Receive(GstPad*, GstObject*, GstBuffer* buffer)
{
    const int64_t now = NowNs();
    int64_t sent = 0;
    gst_buffer_extract(buffer, 0, &sent, sizeof sent);
    gst_buffer_unref(buffer);
    const int64_t taken = now - sent;
    return write(AnswerLine, &taken, sizeof taken) == static_cast<ssize_t>(sizeof taken) ? GST_FLOW_OK : GST_FLOW_ERROR;
}

void RunReceiver(const Partner& line, const std::string& socket, unsigned cpu)
{
    PinTo(cpu);
    line.Hear();
    AnswerLine = line.Line();
    gst_init(nullptr, nullptr);
    GstElement* const source = gst_element_factory_make("shmsrc", nullptr);
    GstPad* const pad = gst_pad_new("in", GST_PAD_SINK);
    gst_pad_set_chain_function(pad, Receive);
    gst_pad_set_active(pad, TRUE);
    g_object_set(source, "socket-path", socket.c_str(), "is-live", TRUE, nullptr);
    GstPad* const out = gst_element_get_static_pad(source, "src");
    gst_pad_link(out, pad);
    gst_element_set_state(source, GST_STATE_PLAYING);
    line.Hear(); // the end
    std::_Exit(0);
}

class GStreamerRoad : public OneWayRoad
{
public:
    GStreamerRoad(uint32_t bufferBytes, unsigned receiverCpu)
        : Bytes(bufferBytes),
          Folder(std::filesystem::temp_directory_path() / ("bench-rail-" + std::to_string(getpid()))),
          Receiver([this, receiverCpu](const Partner& line)
                   { RunReceiver(line, (Folder / "shm").string(), receiverCpu); })
    {
        std::filesystem::create_directory(Folder);
        gst_init(nullptr, nullptr);
        Sink = gst_element_factory_make("shmsink", nullptr);
        g_object_set(Sink, "socket-path", (Folder / "shm").c_str(), "shm-size", guint{bufferBytes * 3 + (1u << 20)},
                     "wait-for-connection", TRUE, "sync", FALSE, "async", FALSE, nullptr);
        Out = gst_pad_new("out", GST_PAD_SRC);
        gst_pad_set_active(Out, TRUE);
        GstPad* const in = gst_element_get_static_pad(Sink, "sink");
        gst_pad_link(Out, in);
        gst_object_unref(in);
        gst_element_set_state(Sink, GST_STATE_PLAYING);
        Receiver.Say();

        gst_pad_push_event(Out, gst_event_new_stream_start("bench"));
        GstCaps* const caps = gst_caps_new_empty_simple("application/octet-stream");
        gst_pad_push_event(Out, gst_event_new_caps(caps));
        GstSegment segment;
        gst_segment_init(&segment, GST_FORMAT_TIME);
        gst_pad_push_event(Out, gst_event_new_segment(&segment));
        GstQuery* const query = gst_query_new_allocation(caps, FALSE);
        if (gst_pad_peer_query(Out, query) && gst_query_get_n_allocation_params(query) > 0)
            gst_query_parse_nth_allocation_param(query, 0, &Allocator, nullptr);
        gst_query_unref(query);
        gst_caps_unref(caps);
        if (!Allocator) Fail("shmsink's allocator");
    }
    ~GStreamerRoad() override
    {
        Receiver.Say();
        gst_element_set_state(Sink, GST_STATE_NULL);
        gst_object_unref(Allocator);
        gst_object_unref(Out);
        gst_object_unref(Sink);
        std::filesystem::remove_all(Folder);
    }

    int64_t Measure() override
    {
        GstBuffer* const buffer = gst_buffer_new_allocate(Allocator, Bytes, nullptr);
        if (!buffer) Fail("a buffer of shmsink");
        const int64_t sent = NowNs();
        gst_buffer_fill(buffer, 0, &sent, sizeof sent);
        if (gst_pad_push(Out, buffer) != GST_FLOW_OK) Fail("shmsink");
        int64_t taken = 0;
        if (read(Receiver.Line(), &taken, sizeof taken) != static_cast<ssize_t>(sizeof taken)) Fail("shmsrc");
        return taken;
    }

private:
    const uint32_t Bytes;
    const std::filesystem::path Folder;
    Partner Receiver;
    GstElement* Sink = nullptr;
    GstPad* Out = nullptr;
    GstAllocator* Allocator = nullptr;
};
} // namespace

bool HasGStreamer()
{
    // Asked of another process: the receivers must be forked before the library has started a thread here.
    return std::system("gst-inspect-1.0 --exists shmsink") == 0;
}

OneWayRoad* NewGStreamerRoad(uint32_t bufferBytes, unsigned receiverCpu)
{
    return new GStreamerRoad(bufferBytes, receiverCpu);
}
} // namespace railbench
