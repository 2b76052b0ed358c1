// The programs of examples/ against one another and against an application of ours, through a service of its own.
#include "../road/Road.h"
#include "Program.h"

#include <cmath>
#include <cstring>
#include <map>
#include <numbers>
#include <optional>
#include <sstream>

using namespace test;

namespace
{

using Words = std::vector<std::pair<std::string, std::string>>;

class Examples : public testing::Test
{
protected:
    // Small pictures, so that a machine with two cores sends and receives them several times over.
    static Words SmallPicture(const std::string& oldPort, uint16_t port)
    {
        return {{oldPort, std::to_string(port)},
                {"width=1280; height=720; exactframerate=50;", "width=720; height=576; exactframerate=50; interlace;"},
                {"BT709", "BT601"}};
    }

    std::vector<std::string> With(std::vector<std::string> arguments) const
    {
        arguments.insert(arguments.end(), {"--service", Service.ServiceUrl()});
        return arguments;
    }

    // The other side of a description of small pictures.
    static StreamSettings SmallPictureAt(uint16_t port)
    {
        StreamSettings settings;
        settings.standard = ZEFA_VIDEO_STANDARD_720X576_I_50;
        settings.port = port;
        settings.lockTimeoutMs = 10000;
        settings.slots = 16;
        return settings;
    }

    MxsProcess Service;
    TemporaryFolder Folder;
};

// Ten-bit luma of a 4:2:2 picture of 720 pixels whose lines lie in two fields in turns.
struct Picture
{
    std::vector<uint16_t> fields[2];

    const uint16_t* Line(uint32_t y) const { return fields[y % 2].data() + y / 2 * 1440; }
    uint16_t Luma(uint32_t x, uint32_t y) const { return Line(y)[x * 2 + 1]; }

    // 32 squares of 18 pixels, from the fifth column and the third row of squares on. Nothing when one is neither
    // black nor white.
    std::optional<uint32_t> Number() const
    {
        uint32_t number = 0;
        for (uint32_t bit = 0; bit < 32; ++bit)
        {
            const uint16_t luma = Luma((4 + bit) * 18 + 9, 2 * 18 + 9);
            if (luma != 64 && luma != 940) return {};
            number = number << 1 | (luma == 940);
        }
        return number;
    }
};

std::optional<Picture> TakePicture(ReceiveStream& stream)
{
    const std::vector<SlotBuffer> slot = TakeSlot(stream, 2);
    if (slot.size() != 2) return {};
    EXPECT_TRUE(slot[0].losses.empty() && slot[1].losses.empty());
    return Picture{{slot[0].Words(), slot[1].Words()}};
}

TEST_F(Examples, SendVideoCountsEveryFrameInThePictureAndMovesTheBars)
{
    const uint16_t port = FreeUdpPort();
    const std::string description = Describe(Folder, "video.sdp", SmallPicture("5000", port));
    Session session(Service.ServiceUrl());
    ReceiveStream receiver(session, SmallPictureAt(port));
    receiver.Start();
    Program sender("send_video", With({description, "--slots", "60"}), Folder);

    std::optional<Picture> before;
    for (uint32_t i = 0; i < 50; ++i)
    {
        const std::optional<Picture> picture = TakePicture(receiver);
        ASSERT_TRUE(picture) << "slot " << i << ": " << sender.Output();
        const std::optional<uint32_t> number = picture->Number();
        ASSERT_TRUE(number) << "slot " << i;
        if (before)
        {
            ASSERT_EQ(before->Number().value() + 1, *number);
            // Four pixels are eight words; the last ones come in from beyond the edge.
            ASSERT_TRUE(std::equal(before->Line(0) + 8, before->Line(0) + 1440, picture->Line(0)));
        }
        before = picture;
    }
    EXPECT_EQ(0, sender.Wait()) << sender.Output();
}

// The digits: eight places of four squares from the fifth column on, in rows five to nine, three squares wide.
TEST_F(Examples, FirstPictureKeepsAPictureWhoseDigitsSayTheNumber)
{
    const uint16_t port = FreeUdpPort();
    const std::string description = Describe(Folder, "video.sdp", SmallPicture("5000", port));
    const std::string image = (Folder.Path / "picture.png").string(), raw = (Folder.Path / "picture.raw").string();
    Program sender("send_video", With({description}), Folder);
    Program receiver("first_picture",
                     With({description, "--standard", "2", "--slots", "25", "--picture", image, "--raw", raw}), Folder);
    ASSERT_EQ(0, receiver.Wait()) << receiver.Output() << sender.Output();
    sender.Interrupt();
    EXPECT_EQ(0, sender.Wait()) << sender.Output();

    const std::string bytes = TextOf(raw);
    ASSERT_EQ(size_t(720 * 576 * 2 * 2), bytes.size());
    Picture picture;
    for (size_t field = 0; field < 2; ++field)
    {
        picture.fields[field].resize(720 * 288 * 2);
        std::memcpy(picture.fields[field].data(), bytes.data() + field * 720 * 288 * 4, 720 * 288 * 4);
    }
    const std::map<std::string, char> kShapes{
        {"#### ## ## ####", '0'}, {" # ##  #  # ###", '1'}, {"###  #####  ###", '2'}, {"###  ####  ####", '3'},
        {"# ## ####  #  #", '4'}, {"####  ###  ####", '5'}, {"####  #### ####", '6'}, {"###  # #  #  # ", '7'},
        {"#### ##### ####", '8'}, {"#### ####  ####", '9'}};
    std::string digits;
    for (uint32_t place = 0; place < 8; ++place)
    {
        std::string shape;
        for (uint32_t square = 0; square < 15; ++square)
            shape += picture.Luma((4 + 4 * place + square % 3) * 18 + 9, (5 + square / 3) * 18 + 9) == 940 ? '#' : ' ';
        ASSERT_TRUE(kShapes.count(shape)) << "place " << place << ": " << shape;
        digits += kShapes.at(shape);
    }
    EXPECT_EQ(picture.Number().value(), std::stoul(digits));
    EXPECT_EQ("\x89PNG", TextOf(image).substr(0, 4));
}

TEST_F(Examples, LoopThroughSendsTheMiddleThirdAsANegative)
{
    const uint16_t port = FreeUdpPort(), changedPort = FreeUdpPort();
    const std::string in = Describe(Folder, "video.sdp", SmallPicture("5000", port));
    const std::string out = Describe(Folder, "video_changed.sdp", SmallPicture("5002", changedPort));
    Session session(Service.ServiceUrl());
    ReceiveStream receiver(session, SmallPictureAt(changedPort));
    receiver.Start();
    Program loop("loop_through", With({in, out, "--standard", "2"}), Folder);
    ASSERT_TRUE(loop.SaysWithin("sending", std::chrono::seconds(20))) << loop.Output();
    Program sender("send_video", With({in, "--standard", "2"}), Folder);

    std::optional<uint32_t> last;
    for (uint32_t i = 0; i < 25; ++i)
    {
        const std::optional<Picture> picture = TakePicture(receiver);
        ASSERT_TRUE(picture) << "slot " << i << ": " << loop.Output() << sender.Output();
        const std::optional<uint32_t> number = picture->Number();
        ASSERT_TRUE(number) << "slot " << i;
        if (last)
        {
            ASSERT_LT(*last, *number); // a machine that is too busy drops frames
        }
        last = number;
        // Each field of 288 lines is negative from its line 96 to 191, so the picture is from 192 to 383. The bars are
        // the same in all lines.
        const uint16_t* plain = picture->Line(570);
        for (const uint32_t line : {199u, 288u, 382u, 383u})
            for (uint32_t word = 0; word < 1440; ++word)
                ASSERT_EQ(1023 - plain[word], picture->Line(line)[word]) << "line " << line << ", word " << word;
        for (const uint32_t line : {0u, 1u, 384u, 385u, 575u})
            ASSERT_TRUE(std::equal(plain, plain + 1440, picture->Line(line))) << "line " << line;
    }
    sender.Interrupt();
    loop.Interrupt();
    EXPECT_EQ(0, sender.Wait()) << sender.Output();
    EXPECT_EQ(0, loop.Wait()) << loop.Output();
}

// A recording as the program left it: 24 bits, two channels.
struct Recording
{
    explicit Recording(const std::string& path) : bytes(TextOf(path)) {}

    uint32_t Number(size_t at, size_t size) const
    {
        uint32_t number = 0;
        for (size_t i = size; i-- > 0;)
            number = number << 8 | uint8_t(bytes.at(at + i));
        return number;
    }

    size_t Frames() const { return (bytes.size() - 44) / 6; }
    int32_t Sample(size_t frame, size_t channel) const
    {
        return int32_t(Number(44 + frame * 6 + channel * 3, 3) << 8) >> 8;
    }

    size_t SilentFrames(size_t from) const
    {
        size_t end = from;
        while (end < Frames() && Sample(end, 0) == 0 && Sample(end, 1) == 0)
            ++end;
        return end - from;
    }

    std::string bytes;
};

TEST_F(Examples, RecordWavHoldsEverySampleOfTheToneThatSendToneSent)
{
    const std::string description = Describe(Folder, "audio.sdp", {{"5004", std::to_string(FreeUdpPort())}});
    const std::string wav = (Folder.Path / "tone.wav").string();
    Program sender("send_tone", With({description, "--frequency", "440", "--level", "-6"}), Folder);
    Program recorder("record_wav", With({description, "--output", wav, "--slots", "100"}), Folder);
    ASSERT_EQ(0, recorder.Wait()) << recorder.Output() << sender.Output();
    sender.Interrupt();
    EXPECT_EQ(0, sender.Wait()) << sender.Output();
    SCOPED_TRACE(recorder.Output() + sender.Output());

    // 100 slots of 10 ms at 48 kHz, or more when time was filled.
    const Recording recording(wav);
    ASSERT_GE(recording.bytes.size(), 44u + 48000 * 6);
    EXPECT_EQ("RIFF", recording.bytes.substr(0, 4));
    EXPECT_EQ(recording.bytes.size() - 8, recording.Number(4, 4));
    EXPECT_EQ("WAVEfmt ", recording.bytes.substr(8, 8));
    EXPECT_EQ(1u, recording.Number(20, 2));      // linear
    EXPECT_EQ(2u, recording.Number(22, 2));      // channels
    EXPECT_EQ(48000u, recording.Number(24, 4));  // samples a second
    EXPECT_EQ(288000u, recording.Number(28, 4)); // bytes a second
    EXPECT_EQ(24u, recording.Number(34, 2));     // bits
    EXPECT_EQ("data", recording.bytes.substr(36, 4));
    EXPECT_EQ(recording.bytes.size() - 44, recording.Number(40, 4));

    // A packet holds 0.44 turns of the tone, so a recording begins at one of 25 places in a turn.
    const double peak = 8388607 * 0.5011872336; // -6 dB
    const auto tone = [&](uint32_t firstPacket, size_t frame, uint32_t channel)
    { return peak * std::sin(2 * std::numbers::pi * 440 * (1 + channel) * double(firstPacket * 48 + frame) / 48000); };
    uint32_t first = 0;
    while (first < 25 && (std::abs(recording.Sample(0, 0) - tone(first, 0, 0)) > 2 ||
                          std::abs(recording.Sample(1, 0) - tone(first, 1, 0)) > 2))
        ++first;
    ASSERT_LT(first, 25u) << "the first samples are " << recording.Sample(0, 0) << ", " << recording.Sample(1, 0);
    // When the service was kept from its core for more than a slot, it went on later and nothing was sent meanwhile.
    // Such time is silence in whole packets; the tone goes on behind it where it was before.
    size_t heard = 0;
    for (size_t frame = 0; frame < recording.Frames();)
    {
        const size_t hole = recording.SilentFrames(frame) / 48 * 48;
        frame += hole;
        if (hole > 0) continue;
        for (uint32_t channel = 0; channel < 2; ++channel)
            ASSERT_NEAR(tone(first, heard, channel), recording.Sample(frame, channel), 2)
                << "frame " << frame << ", channel " << channel;
        ++heard;
        ++frame;
    }
    EXPECT_GT(heard, 24000u);
}

// RTP timestamps of the first samples of beeps that begin after silence, by the timestamp that the program printed.
std::vector<uint32_t> BeepsIn(const Recording& recording, const std::string& output)
{
    const std::string words = "RTP timestamp ";
    const uint32_t first = uint32_t(std::stoul(output.substr(output.find(words) + words.size())));
    std::vector<uint32_t> beeps;
    size_t silent = 0;
    for (size_t frame = 0; frame < recording.Frames(); ++frame)
    {
        const bool sounds = recording.Sample(frame, 0) != 0;
        if (sounds && silent >= 4800) beeps.push_back(first + uint32_t(frame)); // a zero inside of a beep is alone
        silent = sounds ? 0 : silent + 1;
    }
    return beeps;
}

TEST_F(Examples, LoopThroughDelaysAudioByJustTheDelay)
{
    // The sender has two paths; one is recorded as it is, the other behind the delay.
    const std::string port = std::to_string(FreeUdpPort()), looped = std::to_string(FreeUdpPort()),
                      delayed = std::to_string(FreeUdpPort());
    const std::string direct = Describe(Folder, "audio.sdp", {{"5004", port}});
    const std::string out = Describe(Folder, "audio_delayed.sdp", {{"5006", delayed}});
    const std::string in = (Folder.Path / "looped.sdp").string(), both = (Folder.Path / "both.sdp").string();
    const std::string text = TextOf(direct);
    std::string second = text.substr(text.find("m=audio"));
    second.replace(second.find(port), port.size(), looped);
    std::ofstream(in, std::ios::binary) << text.substr(0, text.find("m=audio")) << second;
    std::ofstream(both, std::ios::binary) << text << second;
    const std::string directWav = (Folder.Path / "direct.wav").string();
    const std::string delayedWav = (Folder.Path / "delayed.wav").string();

    Program sender("send_tone", With({both, "--beeps"}), Folder);
    Program loop("loop_through", With({in, out, "--delay-ms", "250"}), Folder);
    Program directRecorder("record_wav", With({direct, "--output", directWav, "--slots", "250"}), Folder);
    Program delayedRecorder("record_wav", With({out, "--output", delayedWav, "--slots", "250"}), Folder);
    ASSERT_EQ(0, directRecorder.Wait()) << directRecorder.Output() << sender.Output();
    ASSERT_EQ(0, delayedRecorder.Wait()) << delayedRecorder.Output() << loop.Output();
    sender.Interrupt();
    loop.Interrupt();
    EXPECT_EQ(0, sender.Wait()) << sender.Output();
    EXPECT_EQ(0, loop.Wait()) << loop.Output();

    // A quarter of a second is 12,000 samples; beeps are a second apart, and one of three is in both recordings.
    const std::vector<uint32_t> beeps = BeepsIn(Recording(directWav), directRecorder.Output());
    const std::vector<uint32_t> delayedBeeps = BeepsIn(Recording(delayedWav), delayedRecorder.Output());
    uint32_t found = 0;
    for (const uint32_t beep : beeps)
        for (const uint32_t late : delayedBeeps)
            if (const int32_t distance = int32_t(late - beep); std::abs(distance) < 24000)
            {
                EXPECT_EQ(12000, distance) << "beep at " << beep;
                ++found;
            }
    EXPECT_GT(found, 0u) << beeps.size() << " beeps and " << delayedBeeps.size() << " delayed ones";
}

struct AncillaryCase
{
    const char* name;
    const char* standard;
    uint32_t rate;
    const char* buffer; // luma of high definition is in the first one, a standard-definition line in the second
    const char* lastText;

    // Above 30 frames a second two frames have one number, and the second one a dot.
    std::string TimeCode(uint32_t frame) const
    {
        const bool pairs = rate > 30;
        const uint32_t inSecond = frame % rate;
        char text[64];
        std::snprintf(text, sizeof text, "00:00:%02u%c%02u", frame / rate, pairs && inSecond % 2 ? '.' : ':',
                      pairs ? inSecond / 2 : inSecond);
        return text;
    }
};

class AncillaryExamples : public Examples, public testing::WithParamInterface<AncillaryCase>
{
};

TEST_P(AncillaryExamples, PrintAncSaysTheTimeCodeAndTheTextThatSendCaptionsSent)
{
    const std::string description = Describe(Folder, "ancillary.sdp", {{"5008", std::to_string(FreeUdpPort())}});
    const std::string standard = GetParam().standard;
    Program printer("print_anc", With({description, "--standard", standard, "--slots", "90"}), Folder);
    ASSERT_TRUE(printer.SaysWithin("receiving", std::chrono::seconds(20))) << printer.Output();
    Program sender("send_captions", With({description, "--standard", standard, "--text", "caption", "--slots", "150"}),
                   Folder);
    ASSERT_EQ(0, printer.Wait()) << printer.Output() << sender.Output();
    EXPECT_EQ(0, sender.Wait()) << sender.Output();

    std::vector<std::string> timeCodes, texts;
    std::istringstream lines(printer.Output());
    for (std::string line; std::getline(lines, line);)
    {
        const std::string place = std::string(", buffer ") + GetParam().buffer + ", line ";
        if (line.rfind("frame ", 0) != 0) continue;
        ASSERT_EQ(std::string::npos, line.find("wrong")) << line;
        ASSERT_NE(std::string::npos, line.find(place)) << line;
        const std::string timeCode = "line 9 H, 60/60 (time code), 16 words: ";
        const std::string captions = "line 12 V, 61/01 (captions CEA-708), ";
        if (const size_t at = line.find(timeCode); at != std::string::npos)
            timeCodes.push_back(line.substr(at + timeCode.size()));
        else
            ASSERT_NE(std::string::npos, line.find(captions)) << line;
        if (const size_t quote = line.find('"'); quote != std::string::npos) texts.push_back(line.substr(quote));
    }
    ASSERT_EQ(90u, timeCodes.size()) << printer.Output();
    const bool whole = printer.Output().find(" 0 lost packets, 0 dropped slots") != std::string::npos;
    // The frame that runs when the receiver starts is not kept, so the first one may be missing. On a machine that is
    // too busy frames are missing, and the service has said so.
    uint32_t frame = 0;
    for (size_t i = 0; i < timeCodes.size(); ++i, ++frame)
    {
        const uint32_t latest = whole ? frame + (i == 0) : 150;
        while (frame < latest && timeCodes[i] != GetParam().TimeCode(frame))
            ++frame;
        ASSERT_EQ(GetParam().TimeCode(frame), timeCodes[i]) << "packet " << i;
    }
    ASSERT_FALSE(texts.empty());
    EXPECT_EQ(GetParam().lastText, texts.back());
}

// Captions change every second: the last of 90 frames is in the second or in the fourth.
INSTANTIATE_TEST_SUITE_P(Standards, AncillaryExamples,
                         testing::Values(AncillaryCase{"Progressive720", "3", 50, "0", "\"caption 1\""},
                                         AncillaryCase{"Interlaced576", "2", 25, "1", "\"caption 3\""}),
                         [](const auto& instance) { return instance.param.name; });

// Programs that nothing arrives for, or that nobody listens to, end when they are told and unmake what they made.
struct EndlessCase
{
    const char* name;
    const char* program;
    std::vector<std::pair<const char*, const char*>> descriptions; // and the port in each
    std::vector<std::string> options;
    int signal = SIGINT;
};

class EndlessExamples : public Examples, public testing::WithParamInterface<EndlessCase>
{
};

TEST_P(EndlessExamples, EndWithSuccessOnASignalAndCleanUp)
{
    std::vector<std::string> arguments = With(GetParam().options);
    for (const auto& [description, port] : GetParam().descriptions)
        arguments.push_back(Describe(Folder, description, {{port, std::to_string(FreeUdpPort())}}));
    Program program(GetParam().program, arguments, Folder);
    ASSERT_TRUE(program.SaysWithin("path 0: 127.0.0.1", std::chrono::seconds(20))) << program.Output();
    std::this_thread::sleep_for(std::chrono::milliseconds(300)); // into the loop

    program.Interrupt(GetParam().signal);

    EXPECT_EQ(0, program.Wait(std::chrono::seconds(20))) << program.Output();
    EXPECT_NE(std::string::npos, program.Output().find(" slots, ")) << program.Output();
    EXPECT_EQ(std::string::npos, program.Output().find("clean-up:")) << program.Output();
}

INSTANTIATE_TEST_SUITE_P(
    All, EndlessExamples,
    testing::Values(
        EndlessCase{"SendVideo", "send_video", {{"video.sdp", "5000"}}, {}},
        EndlessCase{"SendTone", "send_tone", {{"audio.sdp", "5004"}}, {}},
        EndlessCase{"RecordWav", "record_wav", {{"audio.sdp", "5004"}}, {"--output", "/dev/null"}},
        EndlessCase{"SendCaptions", "send_captions", {{"ancillary.sdp", "5008"}}, {"--standard", "3"}},
        EndlessCase{"PrintAnc", "print_anc", {{"ancillary.sdp", "5008"}}, {"--standard", "3"}},
        EndlessCase{"PrintAncThatNobodyReads", "print_anc", {{"ancillary.sdp", "5008"}}, {"--standard", "3"}, SIGPIPE},
        EndlessCase{"SendToneThatIsTerminated", "send_tone", {{"audio.sdp", "5004"}}, {}, SIGTERM},
        EndlessCase{"LoopThroughVideo", "loop_through", {{"video.sdp", "5000"}, {"video_changed.sdp", "5002"}}, {}},
        EndlessCase{"LoopThroughAudio",
                    "loop_through",
                    {{"audio.sdp", "5004"}, {"audio_delayed.sdp", "5006"}},
                    {"--delay-ms", "100"}}),
    [](const auto& instance) { return instance.param.name; });

TEST_F(Examples, AServiceThatIsKilledIsAnErrorAndNobodyHangs)
{
    const std::string audio = Describe(Folder, "audio.sdp", {{"5004", std::to_string(FreeUdpPort())}});
    const std::string ancillary = Describe(Folder, "ancillary.sdp", {{"5008", std::to_string(FreeUdpPort())}});
    Program sender("send_tone", With({audio}), Folder);
    Program receiver("print_anc", With({ancillary, "--standard", "3"}), Folder);
    ASSERT_TRUE(sender.SaysWithin("path 0", std::chrono::seconds(20))) << sender.Output();
    ASSERT_TRUE(receiver.SaysWithin("path 0", std::chrono::seconds(20))) << receiver.Output();

    Service.Stop(SIGKILL);

    EXPECT_EQ(1, sender.Wait(std::chrono::seconds(30)));
    EXPECT_EQ(1, receiver.Wait(std::chrono::seconds(30)));
    EXPECT_NE(std::string::npos, sender.Output().find("send_tone: No slot could be locked")) << sender.Output();
    EXPECT_NE(std::string::npos, receiver.Output().find("print_anc: No slot could be locked")) << receiver.Output();
}

// What a user does wrong is answered by a sentence and exit code 1.
struct WrongCase
{
    const char* name;
    const char* program;
    std::vector<std::string> arguments; // *.sdp is one of the descriptions
    const char* sentence;
};

class WrongUse : public Examples, public testing::WithParamInterface<WrongCase>
{
};

TEST_P(WrongUse, EndsWithASentence)
{
    std::vector<std::string> arguments = With({});
    for (const std::string& argument : GetParam().arguments)
        arguments.push_back(argument.find(".sdp") == std::string::npos ? argument : Describe(Folder, argument, {}));
    Program program(GetParam().program, arguments, Folder);

    EXPECT_EQ(1, program.Wait());

    const std::string output = program.Output();
    EXPECT_NE(std::string::npos, output.find(std::string(GetParam().program) + ": " + GetParam().sentence)) << output;
}

INSTANTIATE_TEST_SUITE_P(
    All, WrongUse,
    testing::Values(
        WrongCase{"NoDescription", "send_tone", {}, "usage: send_tone FILE.sdp "},
        WrongCase{"OneDescriptionOfTwo", "loop_through", {"audio.sdp"}, "usage: loop_through IN.sdp OUT.sdp "},
        WrongCase{"NoFile", "send_video", {"absent"}, "The description absent could not be opened"},
        WrongCase{"OtherEssence", "record_wav", {"video.sdp"}, "The description "},
        WrongCase{"DifferentEssences", "loop_through", {"audio.sdp", "video.sdp"}, "The description "},
        WrongCase{"NoStandard", "print_anc", {"ancillary.sdp"}, "A description of ancillary data gives no video "},
        WrongCase{"NoSuchStandard", "send_video", {"video.sdp", "--standard", "99"}, "There is no video standard 99"},
        WrongCase{"NoNumber", "send_video", {"video.sdp", "--slots", "many"}, "--slots wants a number and not many"},
        WrongCase{"NoSuchOption", "send_tone", {"audio.sdp", "--volume", "1"}, "There is no option --volume"},
        WrongCase{"NoValue", "send_tone", {"audio.sdp", "--level"}, "--level wants a value"},
        WrongCase{"NoSuchInterface",
                  "send_tone",
                  {"audio.sdp", "--interface", "nosuch0"},
                  "There is no interface nosuch0; there are: "},
        WrongCase{"NoSuchCore", "send_tone", {"audio.sdp", "--core", "100000"}, "There is no core 100000"},
        WrongCase{"NoService",
                  "send_tone",
                  {"audio.sdp", "--service", "http://localhost:1/"},
                  "No session with the service http://localhost:1/"}),
    [](const auto& instance) { return instance.param.name; });
} // namespace
