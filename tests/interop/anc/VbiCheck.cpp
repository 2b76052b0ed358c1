// Holds ancillary packets against a media library's writer and reader of blanking lines: what that library writes for
// the same identifiers and data are the very words, with parity and checksum, and it reads them back.
//
//   vbi_check < FILE     a packet a line: its words in hexadecimal, from DID to checksum
#include <gst/gst.h>
#include <gst/video/video-anc.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

namespace
{

constexpr uint32_t kWidth = 1920;
constexpr size_t kLineBytes = kWidth / 6 * 16;
constexpr uint16_t kBlackLuma = 0x040, kBlackColour = 0x200;
const std::vector<uint16_t> kFlag{0x000, 0x3FF, 0x3FF};

using Line = std::vector<uint8_t>;
using Words = std::vector<uint16_t>;

// Twelve samples of ten bits in four words of 32, three in each: Cb Y Cr | Y Cb Y | Cr Y Cb | Y Cr Y.
constexpr std::array<bool, 12> kIsLuma{false, true, false, true, false, true, false, true, false, true, false, true};

Words LumaOf(const Line& line)
{
    Words luma;
    for (size_t sample = 0; sample < kWidth * 2; ++sample)
    {
        if (!kIsLuma[sample % 12]) continue;
        const uint8_t* group = line.data() + sample / 3 * 4;
        const uint32_t bits = group[0] | group[1] << 8 | group[2] << 16 | uint32_t{group[3]} << 24;
        luma.push_back(bits >> 10 * (sample % 3) & 0x3FF);
    }
    return luma;
}

Line LineOf(const Words& luma)
{
    Line line(kLineBytes);
    size_t next = 0;
    for (size_t sample = 0; sample < kWidth * 2; ++sample)
    {
        uint16_t value = kBlackColour;
        if (kIsLuma[sample % 12]) value = next < luma.size() ? luma[next++] : kBlackLuma;
        uint8_t* group = line.data() + sample / 3 * 4;
        const uint32_t bits = uint32_t{value} << 10 * (sample % 3);
        for (size_t byte = 0; byte < 4; ++byte)
            group[byte] = static_cast<uint8_t>(group[byte] | bits >> 8 * byte);
    }
    return line;
}

std::vector<uint8_t> DataOf(const Words& packet)
{
    std::vector<uint8_t> data;
    data.reserve(1); // an address even for no data: the library wants one
    for (size_t i = 3; i + 1 < packet.size(); ++i)
        data.push_back(static_cast<uint8_t>(packet[i]));
    return data;
}

bool IsWhatTheEncoderWrites(const Words& packet)
{
    const std::vector<uint8_t> data = DataOf(packet);
    GstVideoVBIEncoder* encoder = gst_video_vbi_encoder_new(GST_VIDEO_FORMAT_v210, kWidth);
    Line line(kLineBytes);
    const bool added = gst_video_vbi_encoder_add_ancillary(encoder, FALSE, static_cast<guint8>(packet[0]),
                                                           static_cast<guint8>(packet[1]), data.data(),
                                                           static_cast<guint>(data.size()));
    gst_video_vbi_encoder_write_line(encoder, line.data());
    gst_video_vbi_encoder_free(encoder);

    const Words luma = LumaOf(line);
    const auto flag = std::search(luma.begin(), luma.end(), kFlag.begin(), kFlag.end());
    const auto words = flag + 3;
    return added && flag != luma.end() && luma.end() - words >= static_cast<std::ptrdiff_t>(packet.size()) &&
           std::equal(packet.begin(), packet.end(), words);
}

bool IsReadByTheParser(const Words& packet)
{
    Words luma = kFlag;
    luma.insert(luma.end(), packet.begin(), packet.end());
    const Line line = LineOf(luma);
    GstVideoVBIParser* parser = gst_video_vbi_parser_new(GST_VIDEO_FORMAT_v210, kWidth);
    gst_video_vbi_parser_add_line(parser, line.data());
    GstVideoAncillary found{};
    const bool read = gst_video_vbi_parser_get_ancillary(parser, &found) == GST_VIDEO_VBI_PARSER_RESULT_OK;
    gst_video_vbi_parser_free(parser);
    const std::vector<uint8_t> data = DataOf(packet);
    return read && found.DID == (packet[0] & 0xFF) && found.SDID_block_number == (packet[1] & 0xFF) &&
           found.data_count == data.size() && std::equal(data.begin(), data.end(), found.data);
}

} // namespace

int main()
{
    gst_init(nullptr, nullptr);
    size_t packets = 0, otherWords = 0, unread = 0;
    for (std::string text; std::getline(std::cin, text); ++packets)
    {
        std::istringstream words(text);
        Words packet;
        for (unsigned word; words >> std::hex >> word;)
            packet.push_back(static_cast<uint16_t>(word));
        if (packet.size() < 4 || !IsWhatTheEncoderWrites(packet)) ++otherWords;
        if (packet.size() < 4 || !IsReadByTheParser(packet)) ++unread;
    }
    std::printf("%zu packets, %zu with other words, %zu not read\n", packets, otherWords, unread);
    return 0;
}
