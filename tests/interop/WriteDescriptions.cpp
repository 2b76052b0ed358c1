// Writes a description of each kind that the library writes into a folder, for programs that nobody here wrote.
//   write_descriptions FOLDER
#include "zefaline.h"

#include <cstdio>
#include <cstring>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace
{
struct Kind
{
    std::string name; // of the file, in front of "_1.sdp" for one path and "_2.sdp" for two
    ZEFA_ESSENCE_TYPE essence;
    std::function<void(ZEFA_STREAM_NETWORK_CONFIG&, ZEFA_ESSENCE_CONFIG&, ZEFA_SDP_INFO&)> change;
};

const std::vector<Kind> kKinds = {
    {"video", ZEFA_ESSENCE_TYPE_ST2110_20, [](auto&, auto&, auto&) {}},
    {"video_interlaced", ZEFA_ESSENCE_TYPE_ST2110_20,
     [](auto&, ZEFA_ESSENCE_CONFIG& essence, auto&)
     { essence.Essence_X.ST2110_20_X.VideoStandard_E = ZEFA_VIDEO_STANDARD_1920X1080_I_50; }},
    {"video_rgb_8_offset", ZEFA_ESSENCE_TYPE_ST2110_20,
     [](auto&, ZEFA_ESSENCE_CONFIG& essence, auto&)
     {
         ZEFA_ST2110_20_CONFIG& video = essence.Essence_X.ST2110_20_X;
         video.NetworkBitSampling_E = ZEFA_SDP_VIDEO_SAMPLING_RGB;
         video.NetworkBitDepth_E = ZEFA_SDP_VIDEO_DEPTH_8;
         video.UseDefaultTrOffset_B = 0;
         video.TrOffset_UL = 37;
     }},
    {"video_timestamps", ZEFA_ESSENCE_TYPE_ST2110_20,
     [](auto&, auto&, ZEFA_SDP_INFO& info)
     {
         info.TsMode_E = ZEFA_SDP_TS_MODE_SAMP;
         info.TsDelayPresent_B = 1;
         info.TsDelay_UL = 12;
     }},
    {"video_unicast", ZEFA_ESSENCE_TYPE_ST2110_20,
     [](ZEFA_STREAM_NETWORK_CONFIG& network, auto&, auto&)
     {
         network.Connections_X[0].DestinationIp_UL = 0x0A000109;
         network.Connections_X[1].DestinationIp_UL = 0x0A000209;
     }},
    {"video_no_words", ZEFA_ESSENCE_TYPE_ST2110_20,
     [](auto&, auto&, ZEFA_SDP_INFO& info) { info.SessionDescription[0] = '\0'; }},
    {"audio", ZEFA_ESSENCE_TYPE_ST2110_30, [](auto&, auto&, auto&) {}},
    {"audio_16_125us", ZEFA_ESSENCE_TYPE_ST2110_30,
     [](auto&, ZEFA_ESSENCE_CONFIG& essence, ZEFA_SDP_INFO& info)
     {
         essence.Essence_X.ST2110_30_X.ChannelNumber_UL = 16;
         essence.Essence_X.ST2110_30_X.PacketTime_E = ZEFA_SDP_PACKET_TIME_125US;
         std::strcpy(info.ChannelOrder, "SMPTE2110.(SGRP,SGRP,SGRP,SGRP)");
         info.RefClock_E = ZEFA_SDP_REFCLOCK_LOCALMAC;
     }},
    {"audio_timestamps", ZEFA_ESSENCE_TYPE_ST2110_30,
     [](auto&, auto&, ZEFA_SDP_INFO& info) { info.TsMode_E = ZEFA_SDP_TS_MODE_NEW; }},
    {"audio_sender_clock", ZEFA_ESSENCE_TYPE_ST2110_30,
     [](auto&, auto&, ZEFA_SDP_INFO& info)
     {
         info.MediaClock_E = ZEFA_SDP_MEDIA_CLOCK_SENDER;
         info.RefClock_E = ZEFA_SDP_REFCLOCK_PTP_TRACEABLE;
     }},
    {"anc", ZEFA_ESSENCE_TYPE_ST2110_40, [](auto&, auto&, auto&) {}},
};

std::string Write(const Kind& kind, uint32_t paths)
{
    const auto network = std::make_unique<ZEFA_STREAM_NETWORK_CONFIG>();
    network->PayloadType_UB = 96;
    network->NbConnections_UL = paths;
    for (uint32_t i = 0; i < 2; ++i)
    {
        network->Connections_X[i].SourceIp_UL = 0x0A000105;
        network->Connections_X[i].DestinationIp_UL = 0xEF640101 + i;
        network->Connections_X[i].DestinationPort_US = static_cast<uint16_t>(5000 + 20 * i);
    }
    ZEFA_ESSENCE_CONFIG essence{};
    essence.EssenceType_E = kind.essence;
    if (kind.essence == ZEFA_ESSENCE_TYPE_ST2110_20)
    {
        ZEFA_ST2110_20_CONFIG& video = essence.Essence_X.ST2110_20_X;
        video.VideoStandard_E = ZEFA_VIDEO_STANDARD_1920X1080_P_59_94;
        video.NetworkBitDepth_E = ZEFA_SDP_VIDEO_DEPTH_10;
        video.Colorimetry_E = ZEFA_SDP_COLORIMETRY_BT709;
        video.UseDefaultTrOffset_B = 1;
    }
    if (kind.essence == ZEFA_ESSENCE_TYPE_ST2110_30)
        essence.Essence_X.ST2110_30_X = {ZEFA_SDP_AUDIO_CODEC_L24, ZEFA_SDP_AUDIO_RATE_48000, 2,
                                         ZEFA_SDP_PACKET_TIME_1MS, 1};
    if (kind.essence == ZEFA_ESSENCE_TYPE_ST2110_40)
        essence.Essence_X.ST2110_40_X.VideoStandard_E = ZEFA_VIDEO_STANDARD_1920X1080_I_59_94;
    ZEFA_SDP_INFO info{};
    std::strcpy(info.SessionName, "Camera 1");
    std::strcpy(info.SessionDescription, "left wing");
    info.TsMode_E = ZEFA_SDP_TS_MODE_NOT_SET;
    info.RefClock_E = ZEFA_SDP_REFCLOCK_PTP;
    for (uint8_t i = 0; i < 8; ++i)
        info.RefClockId_UB[i] = static_cast<uint8_t>(0x5F - i);
    info.RefClockDomain_UB = 127;
    kind.change(*network, essence, info);

    char text[4096] = "";
    uint32_t size = sizeof text;
    return ZEFA_WriteSDP(network.get(), &essence, &info, text, &size) == ZEFA_NO_ERROR ? text : "";
}
} // namespace

int main(int count, char** arguments)
{
    if (count != 2) return 2;
    for (const Kind& kind : kKinds)
        for (const uint32_t paths : {1u, 2u})
        {
            const std::string name = kind.name + "_" + std::to_string(paths);
            const std::string text = Write(kind, paths);
            std::ofstream file(arguments[1] + ("/" + name) + ".sdp", std::ios::binary);
            if (text.empty() || !(file << text)) return 1;
            std::puts(name.c_str());
        }
    return 0;
}
