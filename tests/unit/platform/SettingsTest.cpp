// The settings store.
#include "platform/Settings.h"

#include <array>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Quillmont::Platform;
namespace fs = std::filesystem;

namespace
{
constexpr const char* kKey = "Software\\Quillmont\\Zefaline";

class Settings : public testing::Test
{
protected:
    Settings()
    {
        std::string name = (fs::temp_directory_path() / "zefaline-settings-XXXXXX").string();
        Folder = mkdtemp(name.data());
    }
    ~Settings() override { fs::remove_all(Folder); }

    std::string Place(const std::string& name) const { return (Folder / name).string(); }

    void Write(const std::string& place, const std::string& content) const
    {
        fs::create_directories(Folder / place / "quillmont");
        std::ofstream(Folder / place / "quillmont" / "zefaline.conf") << content;
    }

    // The text of a value, or "-" when it cannot be read.
    std::string Read(const std::string& content, const std::string& name) const
    {
        Write("here", content);
        const auto key = SettingsKey::Open(kKey, {Place("here")});
        std::array<char, 1024> text{};
        uint32_t length = text.size();
        return key && key->ReadText(name, text.data(), &length) ? text.data() : "-";
    }

    fs::path Folder;
};

const char* NoEnvironment(const char*)
{
    return nullptr;
}
} // namespace

TEST(SettingsFile, IsTheKeyPathInSmallLettersWithoutItsRoot)
{
    EXPECT_EQ(SettingsFile(kKey), "quillmont/zefaline.conf");
    EXPECT_EQ(SettingsFile("Quillmont\\Other"), "quillmont/other.conf");
}

TEST(SettingsFile, NeverLeavesItsPlace)
{
    for (const char* path : {"", "Software", "Software\\..\\passwd", "Software\\a/b", "Software\\\\x", "\\x", "."})
        EXPECT_EQ(SettingsFile(path), "") << path;
}

TEST(SettingsPlaces, AreTheSystemsThenTheUsers)
{
    const auto withConfigHome = SettingsPlaces([](const char* name) -> const char*
                                               { return std::strcmp(name, "HOME") == 0 ? "/home/u" : "/cfg"; });
    const auto withHome = SettingsPlaces([](const char* name) -> const char*
                                         { return std::strcmp(name, "HOME") == 0 ? "/home/u" : nullptr; });

    EXPECT_EQ(withConfigHome, (std::vector<std::string>{"/etc", "/cfg"}));
    EXPECT_EQ(withHome, (std::vector<std::string>{"/etc", "/home/u/.config"}));
}

TEST(SettingsPlaces, TakeNothingRelativeAndNothingThatIsNotTrusted)
{
    const auto relative = SettingsPlaces([](const char*) -> const char* { return "somewhere"; });

    EXPECT_EQ(relative, std::vector<std::string>{"/etc"});
    EXPECT_EQ(SettingsPlaces(&NoEnvironment), std::vector<std::string>{"/etc"});
}

TEST(SettingsPlaces, OfASetUserIdProcessAreTheSystemsAlone)
{
    if (geteuid() != 0) GTEST_SKIP() << "only root can make a program that runs with the rights of another user";
    // A program that runs as another user than the one who starts it prints its places.
    std::string copy = (fs::temp_directory_path() / "zefaline-suid-XXXXXX").string();
    close(mkstemp(copy.data()));
    fs::copy_file(PRINT_PLACES_PATH, copy, fs::copy_options::overwrite_existing);
    ASSERT_EQ(chown(copy.c_str(), 65534, 65534), 0);
    ASSERT_EQ(chmod(copy.c_str(), 04755), 0);

    FILE* out = popen(("HOME=/home/starter XDG_CONFIG_HOME=/starter " + copy).c_str(), "r");
    std::string printed;
    for (int c = 0; (c = fgetc(out)) != EOF;)
        printed += static_cast<char>(c);
    const int status = pclose(out);
    unlink(copy.c_str());

    if (printed.find("effective user 65534") == std::string::npos)
        GTEST_SKIP() << "the temporary folder is mounted so that no program there changes its user: " << printed;
    EXPECT_EQ(status, 0);
    EXPECT_NE(printed.find("place /etc\n"), std::string::npos) << printed;
    EXPECT_EQ(printed.find("starter"), std::string::npos) << printed;
}

TEST_F(Settings, ReadsNameAndTextAndDropsBlanksAround)
{
    EXPECT_EQ(Read("DebugFilter = Error Warning\n", "DebugFilter"), "Error Warning");
    EXPECT_EQ(Read("  DebugFilter=\t Error \t\r\n", "DebugFilter"), "Error");
    EXPECT_EQ(Read("A = b = c", "A"), "b = c");
    EXPECT_EQ(Read("A =\n", "A"), "");
}

TEST_F(Settings, LeavesCommentsAndOtherLinesOut)
{
    EXPECT_EQ(Read("# A = comment\n  # A = comment too\nnonsense\n\nA = value # of A\n", "A"), "value # of A");
    EXPECT_EQ(Read("# A = comment\n", "A"), "-");
    EXPECT_EQ(Read("a = other name\n", "A"), "-");
}

TEST_F(Settings, LaterOfTwoLinesWithOneNameCounts)
{
    EXPECT_EQ(Read("A = first\nA = second\n", "A"), "second");
}

TEST_F(Settings, FirstPlaceThatCanBeOpenedIsTheOnlyOneRead)
{
    Write("first", "A = 1\n");
    Write("second", "A = 2\nB = 2\n");
    std::array<char, 16> text{};
    uint32_t length = text.size();

    const auto both = SettingsKey::Open(kKey, {Place("first"), Place("second")});
    const auto secondOnly = SettingsKey::Open(kKey, {Place("none"), Place("second")});

    ASSERT_TRUE(both);
    EXPECT_TRUE(both->ReadText("A", text.data(), &length));
    EXPECT_STREQ(text.data(), "1");
    length = text.size();
    EXPECT_FALSE(both->ReadText("B", text.data(), &length));
    ASSERT_TRUE(secondOnly);
    EXPECT_TRUE(secondOnly->ReadText("B", text.data(), &length));
    EXPECT_STREQ(text.data(), "2");
}

TEST_F(Settings, NoPlaceAtAllOpensNothing)
{
    EXPECT_FALSE(SettingsKey::Open(kKey, {Place("none"), Place("nowhere")}));
    EXPECT_FALSE(SettingsKey::Open("Software\\..\\x", {Place("none")}));
}

TEST_F(Settings, PipeUnderTheNameIsPassedOver)
{
    fs::create_directories(Folder / "here" / "quillmont");
    ASSERT_EQ(mkfifo((Folder / "here" / "quillmont" / "zefaline.conf").c_str(), 0600), 0);

    EXPECT_FALSE(SettingsKey::Open(kKey, {Place("here")}));
}

TEST_F(Settings, LengthCountsTheNulAndIsLeftAloneByAFailure)
{
    Write("here", "A = four\n");
    const auto key = SettingsKey::Open(kKey, {Place("here")});
    std::array<char, 8> text{'x', 'x', 'x', 'x', 'x', 'x', 'x', 0};

    uint32_t tooShort = 4;
    EXPECT_FALSE(key->ReadText("A", text.data(), &tooShort));
    EXPECT_EQ(tooShort, 4U);
    uint32_t missing = 8;
    EXPECT_FALSE(key->ReadText("B", text.data(), &missing));
    EXPECT_EQ(missing, 8U);
    EXPECT_STREQ(text.data(), "xxxxxxx") << "nothing was written";
    uint32_t enough = 5;
    EXPECT_TRUE(key->ReadText("A", text.data(), &enough));
    EXPECT_EQ(enough, 5U);
    EXPECT_STREQ(text.data(), "four");
}

TEST_F(Settings, VeryLargeFileIsReadInPartAndDoesNoHarm)
{
    Write("here", "A = 1\n" + std::string(10'000'000, 'x') + "\nB = 2\n");
    const auto key = SettingsKey::Open(kKey, {Place("here")});
    std::array<char, 8> text{};
    uint32_t length = text.size();

    ASSERT_TRUE(key);
    EXPECT_TRUE(key->ReadText("A", text.data(), &length));
    EXPECT_FALSE(key->ReadText("B", text.data(), &length));
}
