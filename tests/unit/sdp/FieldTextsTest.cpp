// Whole descriptions of the kinds that senders publish, each with all that reading it gives: ours, and foreign ones
// where a collection of them lies beside the tree.
#include "zefaline/sdp.h"

#include "FieldExpectations.h"
#include "Untouched.h"
#include "logger/Priority.h"
#include "sdp/SdpParser.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <set>
#include <span>
#include <sstream>
#include <string>
#include <vector>

using namespace quill::sdp_module;
namespace filesystem = std::filesystem;

namespace
{
std::string TextOf(const filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::vector<std::string> LinesOf(const std::string& text)
{
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);)
    {
        if (line.ends_with('\r')) line.pop_back();
        lines.push_back(line);
    }
    return lines;
}

size_t MediaLines(const std::string& text)
{
    const auto lines = LinesOf(text);
    return static_cast<size_t>(
        std::count_if(lines.begin(), lines.end(), [](const auto& line) { return line.starts_with("m="); }));
}

// The value of the last such line above the first media, cut to the room of its field.
std::string SessionLine(const std::string& text, const std::string& begin)
{
    std::string value;
    for (const std::string& line : LinesOf(text))
    {
        if (line.starts_with("m=")) break;
        if (line.starts_with(begin)) value = line.substr(begin.size(), 49);
    }
    return value;
}

// The word at the number's place, "-" for a field that was left alone.
std::string Word(std::initializer_list<const char*> words, uint32_t number)
{
    if (number == kUntouched) return "-";
    return number < words.size() ? words.begin()[number] : "outside the constants";
}

std::string Number(uint32_t number)
{
    return number == kUntouched ? "-" : std::to_string(number);
}

std::string Address(uint32_t address)
{
    if (address == kUntouched) return "-";
    std::string text;
    for (const int shift : {24, 16, 8, 0})
        text += std::to_string(address >> shift & 0xFF) + (shift ? "." : "");
    return text;
}

// What one reading has filled in and logged.
struct Outcome
{
    explicit Outcome(const std::string& text)
    {
        std::memset(static_cast<void*>(Network.get()), kUntouchedByte, sizeof *Network);
        std::memset(&Essence, kUntouchedByte, sizeof Essence);
        std::memset(&Info, kUntouchedByte, sizeof Info);
        const LogCapture log;
        try
        {
            Result = ZEFA_ReadSDP(text.c_str(), nullptr, Network.get(), &Essence, &Info);
            Words = Result == ZEFA_NO_ERROR ? Fields() : "";
        }
        catch (const std::exception& error)
        {
            Words = std::string("raises ") + error.what();
        }
        for (const auto& [priority, message] : log.All())
            Messages.push_back((priority == Quillmont::Logger::kPriorityError ? "E " : "W ") + message);
        if (Result == ZEFA_ERR_OPERATION_FAILED) TakeLastError();
    }

    // The function's own error tells why there are no fields.
    void TakeLastError()
    {
        const std::string refused = "E Error in ZEFA_ReadSDP when parsing the SDP : ";
        const std::string last = Messages.empty() ? "" : Messages.back();
        if (last == "E Error in ZEFA_ReadSDP : no media is present in the SDP.") Words = "no media";
        if (last.starts_with(refused)) Words = "refused " + last.substr(refused.size());
        if (!Messages.empty()) Messages.pop_back();
    }

    std::string Fields() const
    {
        std::string paths;
        for (uint32_t i = 0; i < Network->NbConnections_UL; ++i)
        {
            const ZEFA_CONNECTION_CONFIG& path = Network->Connections_X[i];
            paths += (i ? ", " : "") + Address(path.SourceIp_UL) + ">" + Address(path.DestinationIp_UL) + ":" +
                     std::to_string(path.DestinationPort_US);
        }
        return EssenceFields() + "; " + std::to_string(Network->PayloadType_UB) + "; " + paths + "; " +
               Word({"direct", "sender", "none"}, Info.MediaClock_E) + " " +
               Word({"SAMP", "NEW", "PRES", "none"}, Info.TsMode_E) + " " + Number(Info.TsDelay_UL) + " " + Clock();
    }

    std::string EssenceFields() const
    {
        const ZEFA_ST2110_20_CONFIG& video = Essence.Essence_X.ST2110_20_X;
        const ZEFA_ST2110_30_CONFIG& audio = Essence.Essence_X.ST2110_30_X;
        const std::string offset = video.UseDefaultTrOffset_B == kUntouched
                                       ? "-"
                                       : (video.UseDefaultTrOffset_B ? "default" : std::to_string(video.TrOffset_UL));
        switch (Essence.EssenceType_E)
        {
        case ZEFA_ESSENCE_TYPE_ST2110_20:
            return "video " + Number(static_cast<uint32_t>(video.VideoStandard_E)) + " " +
                   Word({"8", "10", "12"}, video.NetworkBitDepth_E) + " " +
                   Word({"YCbCr-4:2:2", "YCbCr-4:4:4", "ICtCp-4:2:2", "ICtCp-4:4:4", "RGB", "XYZ"},
                        video.NetworkBitSampling_E) +
                   " " + Word({"GPM"}, video.PackingMode_E) + " " +
                   Word({"BT601", "BT709", "BT2020", "BT2100"}, video.Colorimetry_E) + " " +
                   Word({"SDR", "PQ", "HLG", "LINAR", "BT2100LINPQ", "BT2100LINHLG", "ST2065-1", "ST428-1", "DENSITY",
                         "UNSPECIFIED"},
                        video.Tcs_E) +
                   " " + offset;
        case ZEFA_ESSENCE_TYPE_ST2110_30:
            return "audio " + Word({"L16", "L24"}, audio.Encoding_E) + " " +
                   Word({"1ms", "125us"}, audio.PacketTime_E) + " " + Word({"48000", "96000"}, audio.SamplingRate_E) +
                   " " + Number(audio.ChannelNumber_UL) + " " +
                   (audio.ChannelNumber_UL == kUntouched ? "-" : std::string("\"") + Info.ChannelOrder + "\"");
        case ZEFA_ESSENCE_TYPE_ST2110_40: return "anc";
        default: return "no essence";
        }
    }

    std::string Clock() const
    {
        const auto groups = [this](size_t count)
        {
            std::string text;
            for (size_t i = count; i-- > 0;)
            {
                char group[4];
                std::snprintf(group, sizeof group, "%02X%s", Info.RefClockId_UB[i], i ? "-" : "");
                text += group;
            }
            return text;
        };
        switch (Info.RefClock_E)
        {
        case ZEFA_SDP_REFCLOCK_PTP: return "ptp " + groups(8) + ":" + std::to_string(Info.RefClockDomain_UB);
        case ZEFA_SDP_REFCLOCK_PTP_TRACEABLE: return "traceable";
        case ZEFA_SDP_REFCLOCK_LOCALMAC: return "localmac " + groups(6);
        default: return "-";
        }
    }

    std::unique_ptr<ZEFA_STREAM_NETWORK_CONFIG> Network = std::make_unique<ZEFA_STREAM_NETWORK_CONFIG>();
    ZEFA_ESSENCE_CONFIG Essence;
    ZEFA_SDP_INFO Info;
    ZEFA_ERRORCODE Result = ZEFA_ERR_FATAL; // when an exception comes instead
    std::string Words;
    std::vector<std::string> Messages;
};

void ExpectReading(const ExpectedReading& expected, const std::string& text)
{
    SCOPED_TRACE(expected.file);
    const Outcome outcome(text);
    EXPECT_EQ(outcome.Words, expected.outcome);
    EXPECT_EQ(outcome.Messages.size(), expected.messages.size()) << testing::PrintToString(outcome.Messages);
    for (size_t i = 0; i < std::min(outcome.Messages.size(), expected.messages.size()); ++i)
        EXPECT_TRUE(outcome.Messages[i].starts_with(expected.messages[i])) << outcome.Messages[i];
    if (outcome.Result != ZEFA_NO_ERROR) return;
    EXPECT_EQ(outcome.Info.SessionName, SessionLine(text, "s="));
    EXPECT_EQ(outcome.Info.SessionDescription, SessionLine(text, "i="));
}

// Each file against its row; neither a file without a row nor a row without a file.
void ExpectReadings(const filesystem::path& folder, std::span<const ExpectedReading> expectations)
{
    std::set<std::string> files;
    for (const auto& entry : filesystem::directory_iterator(folder))
        if (entry.path().extension() == ".sdp") files.insert(entry.path().filename());
    for (const ExpectedReading& expected : expectations)
    {
        EXPECT_EQ(files.erase(expected.file), 1u) << expected.file << " is not there";
        ExpectReading(expected, TextOf(folder / expected.file));
    }
    EXPECT_EQ(files, std::set<std::string>()) << "texts without an expectation";
}
} // namespace

TEST(OwnTexts, GiveTheirFieldsAndMessages)
{
    ExpectReadings(ZEFALINE_OWN_TEXTS, kOwnTexts);
}

TEST(OwnTexts, OpenAMediaForEachMediaLine)
{
    for (const ExpectedReading& expected : kOwnTexts)
    {
        const std::string text = TextOf(filesystem::path(ZEFALINE_OWN_TEXTS) / expected.file);
        EXPECT_EQ(ParseSdpText(text)["media"].size(), MediaLines(text)) << expected.file;
    }
}

TEST(FieldTexts, GiveTheirFieldsAndMessages)
{
    if (!filesystem::is_directory(ZEFALINE_FIELD_TEXTS))
        GTEST_SKIP() << "no collection of descriptions from the field in " << ZEFALINE_FIELD_TEXTS;
    ExpectReadings(ZEFALINE_FIELD_TEXTS, kFieldTexts);
}

TEST(FieldTexts, OpenAMediaForEachMediaLine)
{
    if (!filesystem::is_directory(ZEFALINE_FIELD_TEXTS))
        GTEST_SKIP() << "no collection of descriptions from the field in " << ZEFALINE_FIELD_TEXTS;
    for (const ExpectedReading& expected : kFieldTexts)
    {
        const std::string text = TextOf(filesystem::path(ZEFALINE_FIELD_TEXTS) / expected.file);
        EXPECT_EQ(ParseSdpText(text)["media"].size(), MediaLines(text)) << expected.file;
    }
}
