// Files that slots are filled from and written to.
#include "tools/zefa/StreamFiles.h"
#include "tools/zefa/Failure.h"

#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace
{

using namespace zefa;

std::pair<ExitCode, std::string> FailureOf(const std::function<void()>& act)
{
    try
    {
        act();
    }
    catch (const Failure& failure)
    {
        return {failure.Code, failure.what()};
    }
    return {kGood, ""};
}

class Files : public testing::Test
{
protected:
    void SetUp() override
    {
        std::string path = (std::filesystem::temp_directory_path() / "zefa-test-XXXXXX").string();
        ASSERT_TRUE(::mkdtemp(path.data()));
        Folder = path;
        WriteFile(Name(), "abcde");
    }
    void TearDown() override { std::filesystem::remove_all(Folder); }

    std::string Name() const { return Folder + "/media"; }

    static std::string Taken(MediaInput& input, size_t bytes)
    {
        std::string buffer(bytes, '#');
        EXPECT_TRUE(input.Fill({reinterpret_cast<uint8_t*>(buffer.data()), buffer.size()}, &NotInterrupted));
        return buffer;
    }

    std::string Folder;
};

TEST_F(Files, WhatTheFileDoesNotFillIsZero)
{
    MediaInput input(Name(), false);

    EXPECT_EQ("abc", Taken(input, 3));
    EXPECT_TRUE(input.HasMore(&NotInterrupted));
    EXPECT_EQ(std::string("de\0", 3), Taken(input, 3));
    EXPECT_FALSE(input.HasMore(&NotInterrupted));
}

TEST_F(Files, ALoopGoesOnWithTheBeginning)
{
    MediaInput input(Name(), true);

    EXPECT_EQ("abcdeabcdeab", Taken(input, 12));
    EXPECT_TRUE(input.HasMore(&NotInterrupted));
    EXPECT_EQ("cde", Taken(input, 3));
    EXPECT_TRUE(input.HasMore(&NotInterrupted));
    EXPECT_EQ("ab", Taken(input, 2));
}

TEST_F(Files, ALoopOverAFileThatIsEmptiedEnds)
{
    MediaInput input(Name(), true);
    EXPECT_EQ("abcde", Taken(input, 5));

    std::filesystem::resize_file(Name(), 0);

    EXPECT_EQ(std::pair(kFile, Name() + " holds nothing any more."), FailureOf([&] { Taken(input, 1); }));
    EXPECT_EQ(std::pair(kFile, Name() + " holds nothing any more."),
              FailureOf([&] { input.HasMore(&NotInterrupted); }));
}

TEST_F(Files, FilesThatCannotBeSentAreRefusedAtOnce)
{
    const auto refusal = [](const std::string& name, bool loop)
    { return FailureOf([&] { const MediaInput input(name, loop); }); };
    WriteFile(Folder + "/empty", "");

    EXPECT_EQ(std::pair(kFile, Folder + "/empty holds nothing to send."), refusal(Folder + "/empty", false));
    EXPECT_EQ(std::pair(kFile, Folder + "/empty holds nothing to send."), refusal(Folder + "/empty", true));
    EXPECT_EQ(std::pair(kFile, Folder + "/nothing could not be read: No such file or directory."),
              refusal(Folder + "/nothing", false));
    EXPECT_EQ(std::pair(kFile, Folder + " is a folder."), refusal(Folder, false));
    EXPECT_EQ(kUsage, refusal("-", true).first);
}

// Nothing lies where the memory of a process begins.
TEST(ReadErrors, AreNoEndOfAFile)
{
    const std::string name = "/proc/self/mem", sentence = name + " could not be read: Input/output error.";

    EXPECT_EQ(std::pair(kFile, sentence), FailureOf([&] { const MediaInput input(name, false); }));
    EXPECT_EQ(std::pair(kFile, sentence), FailureOf([&] { ReadFile(name); }));
}

class Pipes : public Files
{
protected:
    void SetUp() override
    {
        Files::SetUp();
        ASSERT_EQ(0, ::mkfifo(Pipe().c_str(), 0600));
    }

    std::string Pipe() const { return Folder + "/pipe"; }

    // The other end, which nobody waits for.
    Descriptor Open(int way) const { return Descriptor(::open(Pipe().c_str(), way | O_NONBLOCK | O_CLOEXEC)); }

    // Goes on for three questions.
    GoOn ThreeTimes()
    {
        return [this] { return ++Asked < 4; };
    }

    int Asked = 0;
};

TEST_F(Pipes, AnInputThatStandsStillIsWaitedForAsLongAsToldAndItsBufferIsNotFull)
{
    MediaInput input(Pipe(), false);
    EXPECT_FALSE(input.HasMore(ThreeTimes())) << "nobody writes";
    EXPECT_EQ(4, Asked);

    const Descriptor writer = Open(O_WRONLY);
    ASSERT_EQ(3, ::write(writer.Number, "abc", 3));
    EXPECT_TRUE(input.HasMore(ThreeTimes()));
    uint8_t buffer[4];
    Asked = 0;
    EXPECT_FALSE(input.Fill(buffer, ThreeTimes()));
    EXPECT_EQ(4, Asked);
}

TEST_F(Pipes, AnInputEndsWithItsLastWriter)
{
    MediaInput input(Pipe(), false);
    {
        const Descriptor writer = Open(O_WRONLY);
        ASSERT_EQ(3, ::write(writer.Number, "abc", 3));
    }

    EXPECT_TRUE(input.HasMore(&NotInterrupted));
    EXPECT_EQ(std::string("abc\0", 4), Taken(input, 4));
    EXPECT_FALSE(input.HasMore(&NotInterrupted));
}

TEST_F(Pipes, ALoopOverOneEndsWithItsLastWriter)
{
    MediaInput input(Pipe(), true);
    {
        const Descriptor writer = Open(O_WRONLY);
        ASSERT_EQ(3, ::write(writer.Number, "abc", 3));
    }

    EXPECT_EQ("abc", Taken(input, 3));
    EXPECT_EQ(std::pair(kFile, Pipe() + " cannot be read from its beginning again."),
              FailureOf([&] { Taken(input, 1); }));
}

TEST_F(Pipes, AnOutputThatStandsStillIsWaitedForAsLongAsTold)
{
    const std::string much(1 << 20, 'x'); // than a pipe holds

    MediaOutput unread(Pipe(), ThreeTimes());
    EXPECT_EQ(4, Asked);
    unread.Write(much, ThreeTimes()); // is not there

    const Descriptor reader = Open(O_RDONLY);
    MediaOutput output(Pipe(), ThreeTimes());
    Asked = 0;
    output.Write(much, ThreeTimes());
    EXPECT_EQ(4, Asked);
}

TEST_F(Files, OutputIsWrittenAsItCame)
{
    {
        MediaOutput output(Name(), &NotInterrupted);
        output.Write("x", &NotInterrupted);
        output.Write(std::string("\0y", 2), &NotInterrupted);
    }

    EXPECT_EQ(std::string("x\0y", 3), ReadFile(Name()));
    EXPECT_THROW(MediaOutput(Folder, &NotInterrupted), Failure);
    EXPECT_THROW(ReadFile(Folder), Failure);
    EXPECT_THROW(ReadFile(Folder + "/nothing"), Failure);
}

TEST(AncLines, AreReadAsTheyAreWritten)
{
    const std::string text = "7 0 9 H 60 60 2f0 100 3ff\n"
                             "7 1 571 V 41 05\n"
                             "9 15 12 V fe 00 000\n";

    const auto packets = AncLinesOf(text, "a");

    ASSERT_EQ(3u, packets.size());
    EXPECT_EQ(7u, packets[0].Slot);
    EXPECT_TRUE(packets[0].Horizontal);
    EXPECT_EQ((std::vector<uint16_t>{0x2F0, 0x100, 0x3FF}), packets[0].Words);
    EXPECT_EQ(1u, packets[1].Playlist);
    EXPECT_EQ(571u, packets[1].Line);
    EXPECT_FALSE(packets[1].Horizontal);
    EXPECT_EQ(0x41, packets[1].Did);
    EXPECT_EQ(0x05, packets[1].Sdid);
    EXPECT_TRUE(packets[1].Words.empty());
    std::string again;
    for (const AncLine& packet : packets)
        again += TextOf(packet);
    EXPECT_EQ(text, again);
}

TEST(AncLines, WhatIsNoPacketIsNamedByItsLine)
{
    std::string tooMany = "0 0 9 H 60 60";
    for (int i = 0; i < 256; ++i)
        tooMany += " 200";
    for (const std::string& wrong :
         {std::string(), std::string("0 0 9 H 60"), std::string("0 16 9 H 60 60"), std::string("0 0 9 X 60 60"),
          std::string("0 0 9 H 160 60"), std::string("0 0 9 H 60 60 400"), std::string("0 0 9 H 60 60 x"),
          std::string("-1 0 9 H 60 60"), std::string("0 0 65536 H 60 60"), tooMany})
        try
        {
            AncLinesOf("1 0 9 H 60 60\n" + wrong + "\n", "a.txt");
            ADD_FAILURE() << wrong;
        }
        catch (const Failure& failure)
        {
            EXPECT_EQ(kFile, failure.Code);
            EXPECT_EQ(0u, std::string(failure.what()).find("a.txt:2: this is no packet")) << failure.what();
        }
    EXPECT_THROW(AncLinesOf("2 0 9 H 60 60\n1 0 9 H 60 60\n", "a"), Failure) << "slots go up";
    EXPECT_THROW(AncLinesOf("", "a"), Failure);
}

} // namespace
