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

} // namespace
