// Whole descriptions of the kinds that senders publish: ours with what reading them gives, and foreign ones where a
// collection of them lies beside the tree.
#include "zefaline/sdp.h"

#include "sdp/SdpParser.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

using namespace quill::sdp_module;

namespace
{
std::string TextOf(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::vector<std::filesystem::path> TextsIn(const std::filesystem::path& folder)
{
    std::vector<std::filesystem::path> paths;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        if (entry.path().extension() == ".sdp") paths.push_back(entry.path());
    std::sort(paths.begin(), paths.end());
    return paths;
}

size_t MediaLines(const std::string& text)
{
    std::istringstream lines(text);
    size_t count = 0;
    for (std::string line; std::getline(lines, line);)
        count += line.starts_with("m=");
    return count;
}

// What reading gives in one line: the result, or the words of what it raises.
std::string Outcome(const std::string& text)
{
    const auto network = std::make_unique<ZEFA_STREAM_NETWORK_CONFIG>();
    ZEFA_ESSENCE_CONFIG essence{};
    essence.Essence_X.ST2110_20_X.VideoStandard_E = ZEFA_VIDEO_STANDARD_UNKNOWN;
    ZEFA_SDP_INFO info{};
    try
    {
        const ZEFA_ERRORCODE result = ZEFA_ReadSDP(text.c_str(), nullptr, network.get(), &essence, &info);
        if (result != ZEFA_NO_ERROR) return "result " + std::to_string(result);
    }
    catch (const std::exception& error)
    {
        return error.what();
    }
    std::string outcome =
        "essence " + std::to_string(essence.EssenceType_E) + ", paths " + std::to_string(network->NbConnections_UL);
    if (essence.EssenceType_E == ZEFA_ESSENCE_TYPE_ST2110_20)
        outcome += ", standard " + std::to_string(essence.Essence_X.ST2110_20_X.VideoStandard_E);
    if (essence.EssenceType_E == ZEFA_ESSENCE_TYPE_ST2110_30)
        outcome += ", channels " + std::to_string(essence.Essence_X.ST2110_30_X.ChannelNumber_UL);
    return outcome;
}

struct OwnText
{
    const char* file;
    const char* outcome;
};

const OwnText kOwnTexts[] = {
    {"anc_2997.sdp", "essence 2, paths 1"},
    {"anc_without_format.sdp", "[json.exception.out_of_range.401] array index 0 is out of range"},
    {"audio_44100.sdp", "essence 1, paths 1, channels 0"}, // the rate has no exported value and ends the copying
    {"audio_8ch_125us.sdp", "essence 1, paths 1, channels 8"},
    {"audio_clock_offset.sdp", "result 2"},
    {"audio_session_connection.sdp", "result 2"},
    {"everything_of_one_sender.sdp", "essence 0, paths 3, standard 18"},
    {"latin1_name.sdp", "result 2"}, // no packet time; the message holds the media alone, whose text is sound
    {"no_media.sdp", "result 2"},
    {"telephone.sdp", "essence 1, paths 1, channels 0"},
    {"video_1080i25.sdp", "essence 0, paths 1, standard 45"}, // 25 frames here, 50 fields in the table
    {"video_1080p50.sdp", "essence 0, paths 1, standard 14"},
    {"video_1080p5994_troff_tsmode.sdp", "essence 0, paths 1, standard 15"},
    {"video_420.sdp", "essence 0, paths 1, standard 45"},
    {"video_compressed.sdp", "result 2"},
    {"video_dup.sdp", "essence 0, paths 2, standard 4"},
    {"video_folded_format.sdp", "result 2"}, // its first line names no standard
    {"video_ipv6.sdp", "essence 0, paths 1, standard 11"},
    {"video_odd_raster.sdp", "essence 0, paths 1, standard 45"},
    {"video_without_format.sdp", "[json.exception.out_of_range.401] array index 0 is out of range"},
};
} // namespace

TEST(OwnTexts, AreReadAsExpected)
{
    for (const OwnText& text : kOwnTexts)
        EXPECT_EQ(Outcome(TextOf(std::filesystem::path(ZEFALINE_OWN_TEXTS) / text.file)), text.outcome) << text.file;
    EXPECT_EQ(TextsIn(ZEFALINE_OWN_TEXTS).size(), std::size(kOwnTexts)) << "a text without an expectation";
}

TEST(OwnTexts, OpenAMediaForEachMediaLine)
{
    for (const auto& path : TextsIn(ZEFALINE_OWN_TEXTS))
        EXPECT_EQ(ParseSdpText(TextOf(path))["media"].size(), MediaLines(TextOf(path))) << path;
}

TEST(FieldTexts, AreParsedAndReadWithoutACrash)
{
    if (!std::filesystem::is_directory(ZEFALINE_FIELD_TEXTS))
        GTEST_SKIP() << "no collection of descriptions from the field in " << ZEFALINE_FIELD_TEXTS;
    size_t read = 0;
    for (const auto& path : TextsIn(ZEFALINE_FIELD_TEXTS))
    {
        const std::string text = TextOf(path);
        EXPECT_EQ(ParseSdpText(text)["media"].size(), MediaLines(text)) << path;
        const std::string outcome = Outcome(text);
        read += outcome.starts_with("essence");
        RecordProperty(path.filename().string(), outcome);
    }
    EXPECT_GT(read, 20u) << "most descriptions from the field can be read";
}
