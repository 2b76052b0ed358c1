// The programs of examples/ against one another and against an application of ours, through a service of its own.
#include "../road/Road.h"
#include "Program.h"

#include <cmath>
#include <csignal>
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
        settings.lockTimeoutMs = 5000; // less than the patience of the programs
        settings.slots = 16;
        return settings;
    }

    MxsProcess Service;
    TemporaryFolder Folder;
};

// Also with a program that is held up for longer than its ring lasts. Then its service drops slots and counts them, and
// all that is missing behind it is what was counted.
class HeldExamples : public Examples, public testing::WithParamInterface<bool>
{
protected:
    static bool IsHeld() { return GetParam(); }
};

INSTANTIATE_TEST_SUITE_P(All, HeldExamples, testing::Bool(),
                         [](const auto& instance) { return instance.param ? "Held" : "Running"; });

// Ten-bit luma of a 4:2:2 picture of 720 pixels whose lines lie in two fields in turns.
struct Picture
{
    std::vector<uint16_t> fields[2];

    const uint16_t* Line(uint32_t y) const { return fields[y % 2].data() + y / 2 * 1440; }
    uint16_t Luma(uint32_t x, uint32_t y) const { return Line(y)[x * 2 + 1]; }

    // 32 squares of 18 pixels, from the fifth column and the third row of squares on. Nothing when the digits below do
    // not say the same: what is lost is black.
    std::optional<uint32_t> Number() const
    {
        uint32_t number = 0;
        for (uint32_t bit = 0; bit < 32; ++bit)
            number = number << 1 | (Luma((4 + bit) * 18 + 9, 2 * 18 + 9) == 940);
        char digits[16];
        std::snprintf(digits, sizeof digits, "%08u", number);
        if (Digits() != digits) return {};
        return number;
    }

    // Eight places of four squares from the fifth column on, in rows five to nine, three squares wide.
    std::string Digits() const
    {
        static const std::map<std::string, char> kShapes{
            {"#### ## ## ####", '0'}, {" # ##  #  # ###", '1'}, {"###  #####  ###", '2'}, {"###  ####  ####", '3'},
            {"# ## ####  #  #", '4'}, {"####  ###  ####", '5'}, {"####  #### ####", '6'}, {"###  # #  #  # ", '7'},
            {"#### ##### ####", '8'}, {"#### ####  ####", '9'}};
        std::string digits;
        for (uint32_t place = 0; place < 8; ++place)
        {
            std::string shape;
            for (uint32_t square = 0; square < 15; ++square)
                shape += Luma((4 + 4 * place + square % 3) * 18 + 9, (5 + square / 3) * 18 + 9) == 940 ? '#' : ' ';
            const auto known = kShapes.find(shape);
            digits += known == kShapes.end() ? '?' : known->second;
        }
        return digits;
    }
};

constexpr uint64_t kPacketsOfAPicture = 576 * 2;

std::optional<Picture> TakePicture(ReceiveStream& stream)
{
    const std::vector<SlotBuffer> slot = TakeSlot(stream, 2);
    if (slot.size() != 2) return {};
    return Picture{{slot[0].Words(), slot[1].Words()}};
}

// Takes what comes up to the picture with this number, or until there is none any more.
void TakePictures(ReceiveStream& stream, uint32_t last, std::vector<Picture>& pictures)
{
    while (pictures.empty() || pictures.back().Number() != last)
    {
        std::optional<Picture> picture = TakePicture(stream);
        if (!picture) return;
        pictures.push_back(std::move(*picture));
    }
}

// Pictures that did not pass a stream are those that its service dropped, and with them as many as the lost packets
// make.
void ExpectCounted(uint64_t missing, uint64_t dropped, uint64_t lostPackets)
{
    EXPECT_GE(missing, dropped);
    EXPECT_LE(missing, dropped + lostPackets / kPacketsOfAPicture);
}

// Packets that did not arrive: those that the sender gave up and those that the receiver missed. What was given up is
// missed, too, unless nothing came behind it.
uint64_t LostBetween(const Counts& sender, const Counts& receiver)
{
    return std::max(sender.lostPackets, receiver.lostPackets);
}

// Of a stream that has received all that was sent.
Counts CountsOf(ReceiveStream& stream, const Counts& sender)
{
    Counts counts;
    Await(
        [&]
        {
            const ZEFA_STREAM_NETWORK_STATUS status = stream.NetworkStatus();
            counts.packets = status.TotalTransferredPacketCount_ULL;
            counts.lostPackets = status.LostPacketsCount_ULL;
            return counts.packets + LostBetween(sender, counts) == sender.packets + sender.lostPackets;
        });
    counts.droppedSlots = stream.CommonStatus().SlotDropped_UL;
    return counts;
}

// The number of each picture is higher than the one before. What `check` says of a picture, or a number that cannot be
// read, is a fault; each takes a lost packet at least.
template <class Check>
void ExpectRising(const std::vector<Picture>& pictures, uint32_t end, uint64_t lostPackets, Check&& check)
{
    uint32_t next = 0;
    std::vector<std::string> faults;
    for (const Picture& picture : pictures)
    {
        const std::optional<uint32_t> number = picture.Number();
        const std::string fault = number ? check(picture) : "has no number";
        if (!fault.empty()) faults.push_back("behind " + std::to_string(next) + ": " + fault);
        if (!number) continue;
        ASSERT_GE(*number, next);
        ASSERT_LT(*number, end);
        next = *number + 1;
    }
    EXPECT_LE(faults.size(), lostPackets) << testing::PrintToString(faults);
}

TEST_F(Examples, SendVideoCountsEveryFrameInThePictureAndMovesTheBars)
{
    const uint16_t port = FreeUdpPort();
    const std::string description = Describe(Folder, "video.sdp", SmallPicture("5000", port));
    Session session(Service.ServiceUrl());
    ReceiveStream receiver(session, SmallPictureAt(port));
    receiver.Start();
    Program sender("send_video", With({description, "--slots", "50"}), Folder);

    std::vector<Picture> pictures;
    TakePictures(receiver, 49, pictures);
    ASSERT_EQ(0, sender.Wait()) << sender.Output();

    const Counts sent = sender.Counted(), received = CountsOf(receiver, sent);
    const uint64_t lost = LostBetween(sent, received);
    EXPECT_EQ(50 * kPacketsOfAPicture, sent.packets + sent.lostPackets);
    EXPECT_EQ(50 * kPacketsOfAPicture, received.packets + lost);
    ExpectCounted(50 - pictures.size(), received.droppedSlots, lost);
    const Picture* before = nullptr;
    const auto check = [&](const Picture& picture) -> std::string
    {
        const Picture* const last = std::exchange(before, &picture);
        if (!last || last->Number() != picture.Number().value() - 1) return "";
        // Four pixels are eight words; the last ones come in from beyond the edge.
        return std::equal(last->Line(0) + 8, last->Line(0) + 1440, picture.Line(0)) ? "" : "the bars have not moved";
    };
    ExpectRising(pictures, 50, lost, check);
}

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
    EXPECT_TRUE(picture.Number()) << picture.Digits();
    EXPECT_EQ("\x89PNG", TextOf(image).substr(0, 4));
}

TEST_P(HeldExamples, LoopThroughSendsTheMiddleThirdAsANegative)
{
    const uint16_t port = FreeUdpPort(), changedPort = FreeUdpPort();
    const std::string in = Describe(Folder, "video.sdp", SmallPicture("5000", port));
    const std::string out = Describe(Folder, "video_changed.sdp", SmallPicture("5002", changedPort));
    Session session(Service.ServiceUrl());
    ReceiveStream receiver(session, SmallPictureAt(changedPort));
    receiver.Start();
    Program loop("loop_through", With({in, out, "--standard", "2"}), Folder);
    ASSERT_TRUE(loop.SaysWithin("sending", std::chrono::seconds(20))) << loop.Output();
    Program sender("send_video", With({in, "--standard", "2", "--slots", "60"}), Folder);

    std::optional<Picture> first = TakePicture(receiver);
    ASSERT_TRUE(first) << loop.Output() << sender.Output();
    std::vector<Picture> pictures{std::move(*first)};
    if (IsHeld()) loop.Hold(std::chrono::milliseconds(1600)); // its ring lasts for 320
    TakePictures(receiver, 59, pictures);
    EXPECT_EQ(0, sender.Wait()) << sender.Output();
    loop.Interrupt();
    ASSERT_EQ(0, loop.Wait()) << loop.Output();
    SCOPED_TRACE(sender.Output() + loop.Output());

    const Counts sent = sender.Counted(), taken = loop.Counted(0), passed = loop.Counted(1);
    const Counts received = CountsOf(receiver, passed);
    const uint64_t lostBefore = LostBetween(sent, taken), lostBehind = LostBetween(passed, received);
    EXPECT_EQ(60 * kPacketsOfAPicture, sent.packets + sent.lostPackets);
    EXPECT_EQ(60 * kPacketsOfAPicture, taken.packets + lostBefore);
    EXPECT_EQ(taken.slots * kPacketsOfAPicture, passed.packets + passed.lostPackets);
    EXPECT_EQ(taken.slots * kPacketsOfAPicture, received.packets + lostBehind);
    ExpectCounted(60 - taken.slots, taken.droppedSlots, lostBefore);
    ExpectCounted(taken.slots - pictures.size(), received.droppedSlots, lostBehind);
    EXPECT_TRUE(!IsHeld() || taken.droppedSlots > 0);
    const auto check = [](const Picture& picture) -> std::string
    {
        // Each field of 288 lines is negative from its line 96 to 191, so the picture is from 192 to 383. The bars are
        // the same in all lines.
        const uint16_t* plain = picture.Line(570);
        for (const uint32_t line : {199u, 288u, 382u, 383u})
            if (!std::equal(plain, plain + 1440, picture.Line(line), [](int a, int b) { return a == 1023 - b; }))
                return "line " + std::to_string(line) + " is no negative";
        for (const uint32_t line : {0u, 1u, 384u, 385u, 575u})
            if (!std::equal(plain, plain + 1440, picture.Line(line)))
                return "line " + std::to_string(line) + " is not plain";
        return "";
    };
    ExpectRising(pictures, 60, lostBefore + lostBehind, check);
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

    bool IsSilent(size_t from, size_t frames) const
    {
        const auto begin = bytes.begin() + std::ptrdiff_t(44 + from * 6);
        return std::all_of(begin, begin + std::ptrdiff_t(frames * 6), [](char byte) { return byte == 0; });
    }

    std::string bytes;
};

TEST_P(HeldExamples, RecordWavHoldsEverySampleOfTheToneThatSendToneSent)
{
    const std::string description = Describe(Folder, "audio.sdp", {{"5004", std::to_string(FreeUdpPort())}});
    const std::string wav = (Folder.Path / "tone.wav").string();
    Program recorder("record_wav", With({description, "--output", wav}), Folder);
    ASSERT_TRUE(recorder.SaysWithin("receiving", std::chrono::seconds(20))) << recorder.Output();
    Program sender("send_tone", With({description, "--frequency", "441", "--level", "-6", "--slots", "200"}), Folder);
    ASSERT_TRUE(sender.SaysWithin("sending", std::chrono::seconds(20))) << sender.Output();
    if (IsHeld()) recorder.Hold(std::chrono::milliseconds(1200)); // its ring lasts for 500
    ASSERT_EQ(0, sender.Wait()) << sender.Output();
    AwaitQuiet(wav);
    recorder.Interrupt();
    ASSERT_EQ(0, recorder.Wait()) << recorder.Output();
    SCOPED_TRACE(recorder.Output() + sender.Output());

    // 200 slots of 10 packets of 1 ms at 48 kHz.
    const Recording recording(wav);
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
    EXPECT_EQ(0u, recording.Frames() % 480);

    const Counts sent = sender.Counted(), received = recorder.Counted();
    const uint64_t lost = LostBetween(sent, received), dropped = received.droppedSlots * 10;
    EXPECT_EQ(2000u, sent.packets + sent.lostPackets);
    EXPECT_EQ(2000u, received.packets + lost);

    // A packet holds 0.441 turns: no two of a second are alike.
    const double peak = 8388607 * 0.5011872336; // -6 dB
    const auto isPacket = [&](size_t packet, size_t from)
    {
        for (size_t frame = 0; frame < 48; ++frame)
            for (uint32_t channel = 0; channel < 2; ++channel)
            {
                const double turns = 441 * (1 + channel) * double(packet * 48 + frame) / 48000;
                const double sample = peak * std::sin(2 * std::numbers::pi * turns);
                if (std::abs(sample - recording.Sample(from + frame, channel)) > 2) return false;
            }
        return true;
    };
    // Between two packets there may be silence: packets that are lost or in slots that the service dropped for want of
    // room, and time in which the sender had nothing to send.
    uint64_t next = 0, silent = 0, missing = 0, paused = 0, pauses = 0;
    for (size_t from = 0; from < recording.Frames(); from += 48)
    {
        if (recording.IsSilent(from, 48))
        {
            ++silent;
            continue;
        }
        uint64_t packet = next;
        while (packet <= next + silent && !isPacket(packet, from))
            ++packet;
        ASSERT_LE(packet, next + silent) << "frame " << from << " is not packet " << next;
        missing += packet - next;
        const uint64_t pause = next + silent - packet;
        paused += pause;
        if (pause > 0) pauses += std::max<uint64_t>(1, pause / 10);
        silent = 0;
        next = packet + 1;
    }
    missing += 2000 - next;
    EXPECT_LE(pauses, sent.underruns); // an underrun is a slot's time or a part of it
    EXPECT_LE(missing, dropped + lost);
    // A dropped slot may hold packets that are lost already, and time in which the sender has paused; behind a pause
    // the last slot need not be full.
    const uint64_t inDropped = std::min(dropped, lost + (paused > 0 ? paused + 9 : 0));
    EXPECT_LE(dropped + lost, missing + inDropped);
    EXPECT_TRUE(!IsHeld() || missing > 0);
}

TEST_P(HeldExamples, LoopThroughDelaysAudioByJustTheDelay)
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

    Program directRecorder("record_wav", With({direct, "--output", directWav}), Folder);
    Program delayedRecorder("record_wav", With({out, "--output", delayedWav}), Folder);
    Program loop("loop_through", With({in, out, "--delay-ms", "250"}), Folder);
    ASSERT_TRUE(directRecorder.SaysWithin("receiving", std::chrono::seconds(20))) << directRecorder.Output();
    ASSERT_TRUE(delayedRecorder.SaysWithin("receiving", std::chrono::seconds(20))) << delayedRecorder.Output();
    ASSERT_TRUE(loop.SaysWithin("sending", std::chrono::seconds(20))) << loop.Output();
    Program sender("send_tone", With({both, "--beeps", "--frequency", "441", "--slots", "250"}), Folder);
    ASSERT_TRUE(sender.SaysWithin("sending", std::chrono::seconds(20))) << sender.Output();
    if (IsHeld()) loop.Hold(std::chrono::milliseconds(1200)); // its ring lasts for 500
    ASSERT_EQ(0, sender.Wait()) << sender.Output();
    AwaitQuiet(delayedWav);
    for (Program* program : {&loop, &directRecorder, &delayedRecorder})
    {
        program->Interrupt();
        ASSERT_EQ(0, program->Wait()) << program->Output();
    }
    SCOPED_TRACE(sender.Output() + loop.Output() + directRecorder.Output() + delayedRecorder.Output());

    const Counts sent = sender.Counted(), atDirect = directRecorder.Counted(), atLoop = loop.Counted(0),
                 passed = loop.Counted(1), atDelayed = delayedRecorder.Counted();
    EXPECT_EQ(2500u, atDirect.packets + LostBetween(sent, atDirect));
    EXPECT_EQ(2500u, atLoop.packets + LostBetween(sent, atLoop));
    EXPECT_EQ(atLoop.slots * 10, passed.packets + passed.lostPackets);
    EXPECT_EQ(atLoop.slots * 10, atDelayed.packets + LostBetween(passed, atDelayed));
    const uint64_t dropped = atDirect.droppedSlots + atLoop.droppedSlots + atDelayed.droppedSlots;
    const uint64_t lost = LostBetween(sent, atDirect) + LostBetween(sent, atLoop) + LostBetween(passed, atDelayed);

    // A quarter of a second is 12,000 samples. Where the two differ, one of them has the silence of what is missing.
    const Recording plain(directWav), late(delayedWav);
    const auto firstTimestamp = [](const Program& recorder)
    {
        const std::string words = "RTP timestamp ", output = recorder.Output();
        return uint32_t(std::stoul(output.substr(output.find(words) + words.size())));
    };
    const size_t offset = firstTimestamp(delayedRecorder) - firstTimestamp(directRecorder);
    ASSERT_LT(offset, 12000u);
    EXPECT_TRUE(late.IsSilent(0, 12000 - offset));
    size_t sounding = 0, differing = 0;
    for (size_t frame = 12000 - offset; frame < late.Frames() && frame + offset - 12000 < plain.Frames(); ++frame)
    {
        const int32_t sample = late.Sample(frame, 0), wanted = plain.Sample(frame + offset - 12000, 0);
        if (sample != wanted)
        {
            ASSERT_TRUE(sample == 0 || wanted == 0) << "frame " << frame;
            ++differing;
        }
        sounding += sample != 0;
    }
    // While the sender pauses nothing is delayed either: an underrun stands for less than the time of two slots.
    EXPECT_LE(differing, 480 * (dropped + 2 * sent.underruns) + 48 * lost);
    EXPECT_GT(sounding + differing, 14000u); // three beeps of 4,800, the sine has its zeros
    EXPECT_TRUE(!IsHeld() || atLoop.droppedSlots > 0);
}

struct AncillaryCase
{
    const char* name;
    const char* standard;
    uint32_t rate;
    const char* buffer; // luma of high definition is in the first one, a standard-definition line in the second
    std::map<uint32_t, std::string> texts; // by the frame that completes them
    uint32_t framesOfText;                 // that carry a text
    bool held = false;                     // the program is held up for longer than its ring lasts

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
    Program printer("print_anc", With({description, "--standard", standard}), Folder);
    ASSERT_TRUE(printer.SaysWithin("receiving", std::chrono::seconds(20))) << printer.Output();
    Program sender("send_captions", With({description, "--standard", standard, "--text", "caption", "--slots", "90"}),
                   Folder);
    ASSERT_TRUE(printer.SaysWithin("frame ", std::chrono::seconds(20))) << printer.Output() << sender.Output();
    if (GetParam().held) printer.Hold(std::chrono::milliseconds(600)); // its ring lasts for 160
    ASSERT_EQ(0, sender.Wait()) << sender.Output();
    printer.AwaitQuietOutput();
    printer.Interrupt();
    ASSERT_EQ(0, printer.Wait()) << printer.Output();

    // The frame that runs when a receiver hears of it for the first time is not kept.
    std::map<uint32_t, std::string> texts = GetParam().texts;
    std::map<uint32_t, std::string> printed;
    uint32_t frame = 0;
    size_t timeCodes = 0, captions = 0;
    std::istringstream lines(printer.Output());
    for (std::string line; std::getline(lines, line);)
    {
        const std::string place = std::string(", buffer ") + GetParam().buffer + ", line ";
        if (line.rfind("frame ", 0) != 0) continue;
        ASSERT_EQ(std::string::npos, line.find("wrong")) << line;
        ASSERT_NE(std::string::npos, line.find(place)) << line;
        const std::string timeCode = "line 9 H, 60/60 (time code), 16 words: ";
        if (const size_t at = line.find(timeCode); at != std::string::npos)
        {
            ASSERT_EQ(timeCodes++, captions) << line;
            // A frame that is missing takes the texts with it that it carries a part of.
            for (++frame; frame < 90 && line.substr(at + timeCode.size()) != GetParam().TimeCode(frame); ++frame)
                texts.erase(texts.lower_bound(frame), texts.lower_bound(frame + GetParam().framesOfText));
            ASSERT_LT(frame, 90u) << line;
        }
        else
        {
            ASSERT_NE(std::string::npos, line.find("line 12 V, 61/01 (captions CEA-708), ")) << line;
            ASSERT_EQ(++captions, timeCodes) << line;
        }
        if (const size_t quote = line.find('"'); quote != std::string::npos) printed[frame] = line.substr(quote);
    }
    const Counts sent = sender.Counted(), received = printer.Counted();
    const uint64_t lost = LostBetween(sent, received), missing = 89 - timeCodes;
    EXPECT_EQ(sent.packets + sent.lostPackets, received.packets + lost);
    EXPECT_GE(missing, received.droppedSlots) << printer.Output();
    EXPECT_LE(missing, received.droppedSlots + lost) << printer.Output();
    EXPECT_TRUE(!GetParam().held || received.droppedSlots > 0);
    EXPECT_EQ(timeCodes, captions);
    for (++frame; frame < 90; ++frame)
        texts.erase(texts.lower_bound(frame), texts.lower_bound(frame + GetParam().framesOfText));
    EXPECT_EQ(texts, printed);
}

// Captions change every second. At 50 frames a second a text takes two frames.
INSTANTIATE_TEST_SUITE_P(
    Standards, AncillaryExamples,
    testing::Values(
        AncillaryCase{"Progressive720", "3", 50, "0", {{51, "\"caption 1\""}}, 2},
        AncillaryCase{"Progressive720Held", "3", 50, "0", {{51, "\"caption 1\""}}, 2, true},
        AncillaryCase{
            "Interlaced576", "2", 25, "1", {{25, "\"caption 1\""}, {50, "\"caption 2\""}, {75, "\"caption 3\""}}, 1}),
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
    testing::Values(EndlessCase{"SendVideo", "send_video", {{"video.sdp", "5000"}}, {}},
                    EndlessCase{"SendTone", "send_tone", {{"audio.sdp", "5004"}}, {}},
                    EndlessCase{"RecordWav", "record_wav", {{"audio.sdp", "5004"}}, {"--output", "/dev/null"}},
                    EndlessCase{"SendCaptions", "send_captions", {{"ancillary.sdp", "5008"}}, {"--standard", "3"}},
                    EndlessCase{"PrintAnc", "print_anc", {{"ancillary.sdp", "5008"}}, {"--standard", "3"}},
                    EndlessCase{"SendToneThatIsTerminated", "send_tone", {{"audio.sdp", "5004"}}, {}, SIGTERM},
                    EndlessCase{"SendToneWhoseTerminalIsLost", "send_tone", {{"audio.sdp", "5004"}}, {}, SIGHUP},
                    EndlessCase{
                        "LoopThroughVideo", "loop_through", {{"video.sdp", "5000"}, {"video_changed.sdp", "5002"}}, {}},
                    EndlessCase{"LoopThroughAudio",
                                "loop_through",
                                {{"audio.sdp", "5004"}, {"audio_delayed.sdp", "5006"}},
                                {"--delay-ms", "100"}}),
    [](const auto& instance) { return instance.param.name; });

TEST_F(Examples, PrintAncEndsWithSuccessAndCleansUpWhenNobodyReadsItAnyMore)
{
    const std::string description = Describe(Folder, "ancillary.sdp", {{"5008", std::to_string(FreeUdpPort())}});
    int ends[2];
    ASSERT_EQ(0, ::pipe2(ends, O_CLOEXEC));
    Program printer("print_anc", With({description, "--standard", "3"}), Folder, ends[1]);
    ::close(ends[1]);
    char text[256];
    ASSERT_LT(0, ::read(ends[0], text, sizeof text)) << printer.Output();
    ::close(ends[0]);

    Program sender("send_captions", With({description, "--standard", "3"}), Folder);

    EXPECT_EQ(0, printer.Wait(std::chrono::seconds(20)));
    EXPECT_EQ("", printer.Output());
    sender.Interrupt();
    EXPECT_EQ(0, sender.Wait()) << sender.Output();
}

TEST_F(Examples, RecordWavOnAFullDiskEndsWithASentenceAndARecordingOfWhatIsThere)
{
    const std::string description = Describe(Folder, "audio.sdp", {{"5004", std::to_string(FreeUdpPort())}});
    const std::string wav = (Folder.Path / "tone.wav").string();
    const auto before = std::signal(SIGXFSZ, SIG_IGN); // for the program, too
    Program recorder("record_wav", With({description, "--output", wav}), Folder);
    std::signal(SIGXFSZ, before);
    Program sender("send_tone", With({description}), Folder);
    ASSERT_TRUE(Await([&] { return TextOf(wav).size() > 44; })) << recorder.Output() << sender.Output();

    const uint64_t full = TextOf(wav).size() + 1000;
    recorder.LimitFiles(full);

    EXPECT_EQ(1, recorder.Wait()) << recorder.Output();
    EXPECT_NE(std::string::npos, recorder.Output().find("record_wav: " + wav + " could not be written"));
    const Recording recording(wav);
    const uint32_t told = recording.Number(40, 4);
    EXPECT_EQ(0u, told % 2880) << "whole slots, of 480 samples of two channels";
    EXPECT_LE(44u + told, recording.bytes.size());
    EXPECT_GT(44u + told + 2880u, recording.bytes.size());
    EXPECT_EQ(36u + told, recording.Number(4, 4));
    sender.Interrupt();
    EXPECT_EQ(0, sender.Wait()) << sender.Output();
}

// The library reads such descriptions, up to the word that it does not know.
TEST_F(Examples, VideoThatTheLibraryHasNoWordForIsNotSentAsSomethingElse)
{
    const std::string deep = Describe(Folder, "video.sdp", {{"depth=10", "depth=16"}});
    Program depth("send_video", With({deep, "--standard", "9"}), Folder);
    EXPECT_EQ(1, depth.Wait());
    EXPECT_NE(std::string::npos, depth.Output().find("send_video: This program draws samples of 8, 10 and 12 bits"))
        << depth.Output();

    const std::string thin = Describe(Folder, "video.sdp", {{"YCbCr-4:2:2", "YCbCr-4:2:0"}});
    Program sampling("send_video", With({thin, "--standard", "9"}), Folder);
    EXPECT_EQ(1, sampling.Wait());
    EXPECT_NE(std::string::npos, sampling.Output().find("send_video: This program draws YCbCr 4:2:2, "))
        << sampling.Output();
}

TEST_F(Examples, AudioThatTheLibraryHasNoWordForIsNotSentAsSomethingElse)
{
    const std::string slow = Describe(Folder, "audio.sdp", {{"48000", "44100"}});
    Program program("send_tone", With({slow}), Folder);

    EXPECT_EQ(1, program.Wait());
    EXPECT_NE(std::string::npos, program.Output().find("send_tone: These programs know audio of ")) << program.Output();
}

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
        WrongCase{"EndlessTime",
                  "send_tone",
                  {"audio.sdp", "--seconds", "inf"},
                  "--seconds wants a number from 0 to 1000000000 and not inf"},
        WrongCase{"TooMuchTime",
                  "send_tone",
                  {"audio.sdp", "--seconds", "1e10"},
                  "--seconds wants a number from 0 to 1000000000 and not 1e10"},
        WrongCase{"NoTime",
                  "send_tone",
                  {"audio.sdp", "--seconds", "nan"},
                  "--seconds wants a number from 0 to 1000000000 and not nan"},
        WrongCase{"DelayIntoThePast",
                  "loop_through",
                  {"audio.sdp", "audio_delayed.sdp", "--delay-ms", "-5"},
                  "--delay-ms wants a number from 0 to 600000 and not -5"},
        WrongCase{"NoFolderForTheRecording",
                  "record_wav",
                  {"audio.sdp", "--output", "/proc/nowhere/tone.wav"},
                  "/proc/nowhere/tone.wav could not be opened"},
        WrongCase{"NoRoomForTheRecording",
                  "record_wav",
                  {"audio.sdp", "--output", "/dev/full"},
                  "/dev/full could not be written"},
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
