// What descriptions of the field do and the reader does not take, each with its line and column.
#include "tools/zefa/Complaints.h"

#include <gtest/gtest.h>

namespace
{

using namespace zefa;

constexpr const char* kFormat = "sampling=YCbCr-4:2:2; width=1920; height=1080; exactframerate=50; depth=10; TCS=SDR; "
                                "colorimetry=BT709; PM=2110GPM; SSN=ST2110-20:2017;";

std::string Video(const std::string& format = kFormat, const std::string& more = "")
{
    return "v=0\ns=one\nt=0 0\nm=video 5000 RTP/AVP 96\nc=IN IP4 239.0.0.1/16\na=rtpmap:96 raw/90000\na=fmtp:96 " +
           format + "\na=ts-refclk:ptp=IEEE1588-2008:traceable\na=mediaclk:direct=0\n" + more;
}

std::string Replaced(std::string text, const std::string& from, const std::string& to)
{
    const size_t at = text.find(from);
    EXPECT_NE(std::string::npos, at) << from;
    return at == std::string::npos ? text : text.replace(at, from.size(), to);
}

std::string Audio(const std::string& map, const std::string& time)
{
    return "v=0\nm=audio 5004 RTP/AVP 97\nc=IN IP4 239.0.0.2/16\na=rtpmap:97 " + map + "\na=ptime:" + time + "\n";
}

TEST(HintsFor, ADescriptionThatTheReaderTakesWholeHasNone)
{
    EXPECT_TRUE(HintsFor(SdpScan(Video())).empty());
    EXPECT_TRUE(HintsFor(SdpScan(Audio("L24/48000/8", "0.125"))).empty());
    EXPECT_TRUE(HintsFor(SdpScan("")).empty());
}

struct HintCase
{
    const char* name;
    std::string text;
    const char* key;
    size_t line, column;
    const char* says; // a part of its text
};

class Hint : public testing::TestWithParam<HintCase>
{
};

TEST_P(Hint, TellsLineColumnAndReason)
{
    const SdpScan scan(GetParam().text);

    const auto hints = HintsFor(scan);

    ASSERT_EQ(1u, hints.size());
    EXPECT_EQ(Kind::Hint, hints[0].Severity);
    EXPECT_EQ("zefa", hints[0].Source);
    EXPECT_EQ(GetParam().key, hints[0].Key);
    EXPECT_EQ(GetParam().line, hints[0].Where.Line);
    EXPECT_EQ(GetParam().column, hints[0].Where.Column);
    EXPECT_NE(std::string::npos, hints[0].Text.find(GetParam().says)) << hints[0].Text;
}

INSTANTIATE_TEST_SUITE_P(
    Field, Hint,
    testing::Values(
        HintCase{
            "ConnectionOfTheSession",
            Replaced(Replaced(Video(), "c=IN IP4 239.0.0.1/16\n", ""), "t=0 0\n", "c=IN IP4 239.0.0.1/16\nt=0 0\n"),
            "c=", 3, 1, "a connection of the session counts for no media"},
        HintCase{"ClockOfTheSession",
                 Replaced(Replaced(Video(), "a=mediaclk:direct=0\n", ""), "m=", "a=mediaclk:direct=0\nm="), "mediaclk",
                 4, 1, "a clock of the session counts for no media"},
        HintCase{"AncillaryDataWithoutSsn", Replaced(Video("DID_SDID={0x61,0x02}"), "raw/90000", "smpte291/90000"),
                 "SSN", 7, 1, "SSN=ST2110-40:2018"},
        HintCase{"AncillaryDataWithoutFormat",
                 Replaced(Replaced(Video(), "raw/90000", "smpte291/90000"), std::string("a=fmtp:96 ") + kFormat, "a=x"),
                 "fmtp", 4, 1, "ends the reading with an exception"},
        HintCase{"VideoWithoutSsn", Video("sampling=RGB; width=5; height=5"), "SSN", 7, 1, "SSN=ST2110-20"},
        HintCase{"OtherVideo", Replaced(Video("packetmode=0"), "raw/90000", "jxsv/90000"), "rtpmap", 7, 1, "\"jxsv\""},
        HintCase{"FrameRateOfInterlacedVideo",
                 Video(Replaced(kFormat, "exactframerate=50", "interlace; exactframerate=25")), "exactframerate", 7, 84,
                 "set 1920x1080i50 "},
        HintCase{"FractionalFrameRateOfInterlacedVideo",
                 Video(Replaced(kFormat, "exactframerate=50", "interlace; exactframerate=30000/1001")),
                 "exactframerate", 7, 84, "set 1920x1080i59.94 "},
        HintCase{"RasterOfNoStandard", Video(Replaced(kFormat, "width=1920", "width=1910")), "exactframerate", 7, 73,
                 "the standard stays unknown"},
        HintCase{"SamplingWithoutPlace", Video(Replaced(kFormat, "4:2:2", "4:2:0")), "sampling", 7, 20,
                 "\"YCbCr-4:2:0\" is read and has no place"},
        HintCase{"BlockPacking", Video(Replaced(kFormat, "2110GPM", "2110BPM")), "PM", 7, 118, "has no place"},
        HintCase{"LinearTransfer", Video(Replaced(kFormat, "TCS=SDR", "TCS=LINEAR")), "TCS", 7, 91, "\"LINAR\""},
        HintCase{"WidthThatIsNoNumber", Video(Replaced(kFormat, "width=1920", "width=wide")), "width", 7, 39,
                 "invalid stoi argument"},
        HintCase{"MediaClockWithOffset", Replaced(Video(), "direct=0", "direct=963214424"), "mediaclk", 9, 12,
                 "refuses all else without a sentence"},
        HintCase{"TimestampMode", Video(std::string(kFormat) + " TSMODE=OLD;"), "TSMODE", 7, 154, "SAMP, NEW and PRES"},
        HintCase{"LocalMacWithColons", Replaced(Video(), "ptp=IEEE1588-2008:traceable", "localmac=00:11:22:33:44:55"),
                 "ts-refclk", 8, 13, "exception"},
        HintCase{"SourceFilter", Video(kFormat, "a=source-filter: incl IN IP4 239.0.0.1 10.0.0.1\n"), "source-filter",
                 10, 1, "source filters are not read"},
        HintCase{"BlankBehindThePayloadType", Replaced(Video(), "RTP/AVP 96\n", "RTP/AVP 96 \n"), "m=", 4, 25,
                 "a blank to spare"},
        HintCase{"NulByte", Replaced(Video(), "s=one", std::string("s=o\0e", 5)), "NUL", 2, 4, "up to this byte"},
        HintCase{"NulByteInALineOfNoKind", Replaced(Video(), "s=one", std::string("\0=one", 5)), "NUL", 2, 1,
                 "up to this byte"},
        HintCase{"AudioCoding", Audio("AM824/48000/2", "1"), "rtpmap", 4, 13, "\"AM824\" has no place"},
        HintCase{"AudioRate", Audio("L24/44100/2", "1"), "rtpmap", 4, 17, "\"44100\" has no place"},
        HintCase{"PacketTime", Audio("L24/48000/2", "0.12"), "ptime", 5, 9, "\"0.12\" ms has no place"},
        HintCase{"MediaOfAnotherKind",
                 Video() + "m=audio 5004 RTP/AVP 97\nc=IN IP4 239.0.0.2\na=rtpmap:97 L24/48000/2\n", "m=", 10, 1,
                 "with the essence of the first"}),
    [](const auto& instance) { return instance.param.name; });

TEST(HintsFor, SeveralStandInTheOrderOfTheirLines)
{
    const auto hints = HintsFor(
        SdpScan(Video(Replaced(kFormat, "TCS=SDR", "TCS=LINEAR"), "a=source-filter: incl IN IP4 239.0.0.1 10.0.0.1\n"
                                                                  "m=video 1 RTP/AVP x\n")));

    std::vector<size_t> lines;
    for (const Complaint& hint : hints)
        lines.push_back(hint.Where.Line);
    EXPECT_EQ((std::vector<size_t>{7, 10, 11, 11, 11}), lines);
}

} // namespace
