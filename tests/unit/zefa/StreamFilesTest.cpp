// Files that slots are filled from and written to.
#include "tools/zefa/StreamFiles.h"
#include "tools/zefa/Failure.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace
{

using namespace zefa;

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
        input.Fill({reinterpret_cast<uint8_t*>(buffer.data()), buffer.size()});
        return buffer;
    }

    std::string Folder;
};

TEST_F(Files, WhatTheFileDoesNotFillIsZero)
{
    MediaInput input(Name(), false);

    EXPECT_EQ("abc", Taken(input, 3));
    EXPECT_TRUE(input.HasMore());
    EXPECT_EQ(std::string("de\0", 3), Taken(input, 3));
    EXPECT_FALSE(input.HasMore());
}

TEST_F(Files, ALoopGoesOnWithTheBeginning)
{
    MediaInput input(Name(), true);

    EXPECT_EQ("abcdeabcdeab", Taken(input, 12));
    EXPECT_TRUE(input.HasMore());
    EXPECT_EQ("cde", Taken(input, 3));
    EXPECT_TRUE(input.HasMore());
    EXPECT_EQ("ab", Taken(input, 2));
}

TEST_F(Files, FilesThatCannotBeSentAreRefusedAtOnce)
{
    const auto codeOf = [](const std::string& name, bool loop)
    {
        try
        {
            MediaInput input(name, loop);
        }
        catch (const Failure& failure)
        {
            return failure.Code;
        }
        return kGood;
    };
    WriteFile(Folder + "/empty", "");

    EXPECT_EQ(kFile, codeOf(Folder + "/empty", false));
    EXPECT_EQ(kFile, codeOf(Folder + "/nothing", false));
    EXPECT_EQ(kUsage, codeOf("-", true));
}

TEST_F(Files, OutputIsWrittenAsItCame)
{
    {
        MediaOutput output(Name());
        output.Write("x");
        output.Write(std::string("\0y", 2));
        output.Finish();
    }

    EXPECT_EQ(std::string("x\0y", 3), ReadFile(Name()));
    EXPECT_THROW(MediaOutput{Folder}, Failure);
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
